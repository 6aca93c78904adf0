// NRRD files: whatever the bytes, a load either fails or uploads every slice once, the last one first, and
// what is stored can be computed from the file. Nothing but the documented exceptions is thrown.
#include <fuzz/memory_file.h>
#include <fuzz/require.h>
#include <qel/foundation/log/message_stream.h>
#include <qel/volume/volume_loader.h>
#include <tests/support/idle_renderer_3d.h>

#include <stdexcept>

using namespace qel;

namespace {

/// Checks the order of slices and counts voxels.
class CheckingVolume : public VolumeTexture {
public:
    using VolumeTexture::uploadData;
    using VolumeTexture::VolumeTexture;

    void initialize(FormatID format, const IVec3<int>& size) override {
        require(format == UInt16);
        setContent(format, size);
        m_next = size.z;
    }
    void uploadData(int zBegin, int zEnd, FormatID format, const void* data) override {
        require(format == UInt16 && zEnd == m_next && zBegin == m_next - 1);
        m_next = zBegin;
        const auto* const words = static_cast<const uint16*>(data);
        const auto count = static_cast<size_t>(getSize().x) * static_cast<size_t>(getSize().y);
        for (size_t i = 0; i < count; ++i) sum += words[i];
    }
    bool isComplete() const { return m_next == 0; }

    uint64 sum = 0;

private:
    int m_next = 0;
};

struct CheckingRenderer : test::IdleRenderer3D {
    VolumeTexture* createVolumeTextureInternal() override { return new CheckingVolume(this); }
};

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
