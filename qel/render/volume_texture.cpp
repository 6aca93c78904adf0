#include <qel/render/volume_texture.h>

#include <qel/foundation/log/message_stream.h>
#include <qel/imaging/pixels/image.h>
#include <qel/system/core/system.h>

#include <limits>

namespace qel {

VolumeTexture::VolumeTexture(Renderer* renderer)
    : m_renderer(renderer), m_time(internal::g_system != nullptr ? internal::g_system->getTimeFast() : 0) {}

VolumeTexture::~VolumeTexture() = default;

void VolumeTexture::uploadData(int z, const Image& image) {
    if (z == std::numeric_limits<int>::max()) {
        logging::error() << "invalid upload of slice " << z;
        return;
    }
    uploadData(z, z + 1, image.getImageFormat(), image.getBytePointer());
}

void VolumeTexture::setContent(FormatID format, const IVec3<int>& size) {
    m_format = format;
    m_size = size;
    m_valid = true;
}

} // namespace qel
