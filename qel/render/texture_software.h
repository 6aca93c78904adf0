// TextureSoftware: the texture of RendererSoftware.
#pragma once

#include <qel/foundation/base/smart_pointer.h>
#include <qel/imaging/pixels/image.h>
#include <qel/platform/api.h>
#include <qel/render/texture.h>

namespace qel {

/// Holds its pixels as an Image in memory of its own. Every upload replaces that image, so that operations
/// which were drawn earlier in the frame still use the old pixels.
class QEL_API TextureSoftware final : public Texture {
    QEL_CLASS(TextureSoftware, Texture)

public:
    /// Creates a texture without pixels. @owner keeps a weak pointer to @p renderer, which may be null.
    explicit TextureSoftware(Renderer* renderer);
    ~TextureSoftware() override;

    /// Drops the pixels: a texture with declared content draws nothing.
    void declareExtern(FormatID format, const IVec2<int>& size) override;
    /// Takes the pixels of @p image, which is left without any, or copies them if they are not its own.
    void upload(Image&& image, bool flag) override;
    /// Copies the pixels of @p image.
    void upload(const Image& image, bool flag) override;

    /// Returns the pixels; an uninitialised image before the first upload.
    const Image& getImage() const { return *m_image; }
    /// Returns the image that holds the pixels now. It never changes; the next upload replaces it.
    const SmartPointer<Image>& getSharedImage() const { return m_image; }
    /// Returns the flag of the last upload.
    bool getUploadFlag() const { return m_flag; }

private:
    void replace(SmartPointer<Image> image, bool flag);

    SmartPointer<Image> m_image;
    bool m_flag = false;
};

} // namespace qel
