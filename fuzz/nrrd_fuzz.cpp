// NRRD files: whatever the bytes, a load either fails or uploads every slice once, the last one first, and
// what is stored can be computed from the file. Nothing but the documented exceptions is thrown.
#include <fuzz/checking_volume.h>
#include <fuzz/memory_file.h>
#include <fuzz/require.h>
#include <qel/foundation/log/message_stream.h>
#include <qel/volume/volume_loader.h>

#include <stdexcept>

using namespace qel;

namespace {

bool load(VolumeLoader& loader, const char* path) {
    try {
        return loader.loadFromNRRD(path);
    } catch (const std::invalid_argument&) {
        return false;
    } catch (const std::out_of_range&) {
        return false;
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8* data, size_t size) {
    logging::setConsoleWriter([](const logging::ConsoleLine&) {});
    static const MemoryFile file;
    file.setContent(data, size);
    CheckingRenderer renderer;
    VolumeLoader loader(&renderer);
    if (!load(loader, file.path().c_str())) {
        require(!loader.getScalarTexture());
        return 0;
    }
    const auto& volume = static_cast<CheckingVolume&>(*loader.getScalarTexture());
    require(volume.isComplete());
    const IVec3<int> length = loader.getSize();
    const bool isEmpty = length.x <= 0 || length.y <= 0 || length.z <= 0;
    require(volume.getSize() == (isEmpty ? IVec3<int>() : length));
    require(loader.getScaleBias().x == 1); // shorts are never compressed
    require(volume.sum == 0 || loader.getScaleBias().y >= -32768);
    return 0;
}
