#include <qel/imaging/pixels/image.h>

#include <qel/files/memory_map.h>
#include <qel/foundation/base/weak_pointer.h>
#include <qel/foundation/log/message_stream.h>
#include <qel/imaging/io/codecs_p.h>
#include <qel/system/core/system.h>
#include <qel/system/tasks/task_queue.h>

#include <limits>
#include <memory>
#include <utility>

namespace qel {
namespace {

/// An asynchronous load. The image is looked at on the main queue alone.
struct Request {
    WeakPointer<Image> image;
    std::function<void()> done;

    void finish(const Buffer& data) const {
        Image* target = image.get(); // may have no references, so that none is taken
        if (!target) return;
        target->loadFromMemory(data);
        if (done) done();
    }
};

bool convertTo(Image& image, FormatID format) {
    if (image.getImageFormat() == format) return true;
    Image converted(format, image.getSize());
    if (!converted || !converted.convertFrom(image)) return false;
    image.swap(converted);
    return true;
}

} // namespace

bool Image::loadFromMemory(const uint8* data, unsigned size) {
    Image loaded;
    const ConstByteSpan file(data, data ? size : 0);
    internal::Decoded decoded = internal::decodeWebP(file, loaded);
    if (decoded == internal::Decoded::Other)
        decoded = internal::decodePng(file, loaded) ? internal::Decoded::Yes : internal::Decoded::No;
    if (decoded != internal::Decoded::Yes) return false;
    swap(loaded);
    return true;
}

bool Image::loadFromMemory(const Buffer& data) {
    if (data.getSize() > std::numeric_limits<unsigned>::max()) return false;
    return loadFromMemory(data.getBytePointer(), static_cast<unsigned>(data.getSize()));
}

bool Image::loadFromMemory(MemoryMap* map) {
    const uint64 size = map ? map->getFileSize() : 0;
    const bool fits = size > 0 && size <= std::numeric_limits<unsigned>::max();
    uint8* data = fits ? map->map(0, static_cast<unsigned>(size)) : nullptr;
    if (!data) {
        logging::error() << "memory mapping file failed, size=" << size;
        return false;
    }
    const bool isLoaded = loadFromMemory(data, static_cast<unsigned>(size));
    map->unmap(data, 0, static_cast<unsigned>(size));
    return isLoaded;
}

bool Image::loadFromFile(const char* path) {
    MemoryMap map(path, MemoryMap::ReadOnly);
    return map.isValid() && loadFromMemory(&map);
}

bool Image::loadFromResource(const char* name) {
    Buffer data;
    return system() && data.loadFromResource(name, true) && loadFromMemory(data);
}

bool Image::loadFromResourceAsync(const char* name, std::function<void()> done) {
    if (!system()) return false;
    auto request = std::make_shared<Request>();
    request->image = this;
    request->done = std::move(done);
    return system()->loadResourceAsync(name, [request = std::move(request)](const Buffer& data) {
        TaskQueue* const queue = system() ? system()->getGlobalMainQueue() : nullptr;
        if (!queue) return; // the provider has outlived the System
        const auto finish = [request, copy = data] { request->finish(copy); };
        queue->pushTask(new TaskQueue::LambdaNoContextTask(finish), 0);
    });
}

bool Image::loadPngSeries(Vector<String>& paths, Vector<SmartPointer<Image>>& out, FormatID format) {
    for (const String& path : paths) {
        SmartPointer<Image> image(new Image);
        if (!image->loadFromFile(path.c_str())) {
            logging::error() << "cannot load png file " << path;
            return false;
        }
        if (!convertTo(*image, format)) {
            logging::error() << "cannot convert image";
            return false;
        }
        out.push_back(image);
    }
    return true;
}

void Image::setDecodeLimit(uint64 pixels) {
    internal::setMaxDecodedPixels(pixels);
}

} // namespace qel
