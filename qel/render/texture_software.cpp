#include <qel/render/texture_software.h>

#include <qel/render/image_copy_p.h>
#include <qel/render/renderer.h>

namespace qel {

TextureSoftware::TextureSoftware(Renderer* renderer) : Texture(renderer), m_image(new Image) {}

TextureSoftware::~TextureSoftware() = default;

void TextureSoftware::declareExtern(FormatID format, const IVec2<int>& size) {
    m_image = makeObject<Image>();
    setContent(format, size);
}

void TextureSoftware::upload(Image&& image, bool flag) {
    replace(internal::takePixels(std::move(image)), flag);
}

void TextureSoftware::upload(const Image& image, bool flag) {
    SmartPointer<Image> copy = makeObject<Image>();
    internal::copyPixels(*copy, image);
    replace(std::move(copy), flag);
}

void TextureSoftware::replace(SmartPointer<Image> image, bool flag) {
    m_image = std::move(image);
    m_flag = flag;
    const bool hasPixels = m_image->isInitialized();
    setContent(m_image->getImageFormat(), hasPixels ? m_image->getSize() : IVec2<int>());
}

} // namespace qel
