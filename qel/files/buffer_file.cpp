#include <qel/foundation/base/buffer.h>

#include <qel/files/file.h>
#include <qel/files/whole_io_p.h>
#include <qel/foundation/base/compression.h>
#include <qel/foundation/base/string.h>
#include <qel/foundation/log/message_stream.h>

#include <new>

namespace qel {

namespace {

// Only a plain file has a reliable size.
bool readWhole(const internal::FileHandle& file, uint64 size, Buffer& buffer) {
    if (size > SIZE_MAX / 2) return false;
    try {
        buffer.resize(static_cast<size_t>(size));
    } catch (const std::bad_alloc&) {
        return false;
    }
    size_t done = 0;
    return !internal::readFully(file, 0, buffer.getBytePointer(), buffer.getSize(), done) &&
           done == buffer.getSize();
}

} // namespace

bool Buffer::loadFromFile(const char* path, bool silent, bool decompress) {
    const SmartCStr name(path);
    internal::FileHandle file;
    if (internal::openForReading(file, name)) {
        if (!silent) logging::error() << "cant open file '" << name.c_str() << "'";
        return false;
    }
    platform::FileStatus status;
    if (platform::readStatus(status, file) || status.kind != platform::FileKind::File ||
        !readWhole(file, status.size, *this)) {
        clear();
        logging::error() << "cant read file '" << name.c_str() << "' of " << status.size << " bytes";
        return false;
    }
    if (!decompress || !util::getCompressedContentSize(*this)) return true;
    Buffer content;
    if (!util::decompress(*this, content)) {
        logging::error() << "failed to decompress compressed file '" << name.c_str() << "'";
        return false;
    }
    swap(content);
    return true;
}

bool Buffer::saveToFile(const char* path) const {
    return File::writeFile(path, *this);
}

bool Buffer::saveToFileCompressed(const char* path) const {
    return File::writeFileCompressed(path, *this);
}

bool String::loadFromFile(SmartCStr path) {
    Buffer content;
    if (!content.loadFromFile(path, false, false)) return false;
    assign(content.getConstByteSpan().asText());
    return true;
}

bool String::saveToFile(SmartCStr path) const {
    return File::writeFile(path, ConstByteSpan::fromText(*this));
}

} // namespace qel
