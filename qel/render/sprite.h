// Sprite: a picture that the scene shows, with its source, its pixels and its textures.
#pragma once

#include <qel/foundation/base/containers.h>
#include <qel/foundation/base/ivec.h>
#include <qel/foundation/base/object.h>
#include <qel/foundation/base/smart_pointer.h>
#include <qel/foundation/base/string.h>
#include <qel/foundation/base/types.h>
#include <qel/foundation/base/weak_pointer.h>
#include <qel/imaging/pixels/image.h>
#include <qel/platform/api.h>

#include <functional>
#include <map>
#include <string>

namespace qel {

class Alarm;
class Renderer;
class SpriteCache;
class System;
class Texture;

/// A picture with a source (a resource, a glyph, a function or given pixels), its decoded image, and
/// textures of it in any number of sizes.
///
/// A sprite of a resource, a glyph or a function loads its pixels when they are needed and drops them 5
/// seconds after the last load. Given pixels stay. Textures are dropped 25 seconds after their last use.
/// System::signalFreeCaches drops both at once, unless the deadline of the frame is exceeded. A second is
/// that of an Alarm, 1024 ms. A sprite that is kept for a second System listens to it from the next time on
/// that it loads pixels or creates a texture, and requests a resource again that had not arrived.
/// @threads main thread; System must exist.
class QEL_API Sprite : public Object {
    QEL_CLASS(Sprite, Object)

public:
    /// Where the pixels come from.
    enum class Kind : int {
        Invalid = 0,  ///< invalidate() was called: there is no source
        External = 1, ///< the creator passed the pixels
        Resource = 2, ///< an image file among the resources
        Glyph = 3,    ///< a character of a font
        Lambda = 4,   ///< a function that draws the picture
        Internal = 5, ///< the owner writes the pixels
    };

    /// Creates a sprite with a copy of packed pixels.
    /// @param data  as many bytes as an Image of this format and size has; null means all 0.
    static SmartPointer<Sprite> createFromExternal(FormatID format, const IVec2<int>& size,
                                                   const uint8* data);
    /// Creates a sprite with a copy of @p image.
    static SmartPointer<Sprite> createFromImage(const Image& image);
    /// Creates a sprite with the pixels of @p image, which is left without any.
    static SmartPointer<Sprite> createFromImageSwap(Image& image);
    /// Creates a sprite whose pixels are 0 until the owner writes into getImage().
    static SmartPointer<Sprite> createInternal(FormatID format, const IVec2<int>& size);
    /// Creates a sprite that is drawn by a function.
    /// @param generator  initialises and fills the image. An empty function throws std::bad_function_call
    ///                   when the pixels are needed.
    /// @param size       the size of the picture if it is known. With (0, 0), getSize() calls the function.
    static SmartPointer<Sprite> createFromLambda(std::function<void(Image&)> generator,
                                                 const IVec2<int>& size = {});

    ~Sprite() override;

    /// Returns true until invalidate().
    bool isValid() const { return m_kind != Kind::Invalid; }
    /// Returns the kind of the source.
    Kind getKind() const { return m_kind; }
    /// Returns false after loading has failed; the sprite never tries again.
    bool isSourceValid() const { return !m_sourceInvalid; }
    /// Returns true if the size is known.
    bool hasMetaData() const { return m_hasMeta; }
    /// Returns true if the pixels are in memory.
    bool hasImageData() const { return m_hasData; }
    /// Returns the size of the picture in pixels. Loads the picture if the size is unknown.
    const IVec2<int>& getSize();
    /// Returns the pixels. Loads them if they are not in memory; the image is uninitialised if that fails,
    /// and while an asynchronous load is running.
    Image& getImage();
    /// Returns the first byte of the pixels, loaded as by getImage(); null if that fails.
    uint8* getData() { return getImage().getBytePointer(); }
    /// Returns the texture of this size and keeps it for another 25 seconds; null if it does not exist.
    Texture* hasTexture(const IVec2<int>& size);
    /// Returns the texture of this size for @p renderer and keeps it for another 25 seconds. Creates it if
    /// it does not exist or belongs to another renderer. Formats that cannot be resized keep the size of
    /// the picture.
    /// @return null if @p renderer is null, a side is below 1, or there are no pixels (yet).
    Texture* getTexture(Renderer* renderer, const IVec2<int>& size);

    // Set these before the first load.
    /// Converts the loaded pixels to @p format; 0 leaves the choice to the sprite.
    void setConvertToFormat(FormatID format) { m_convertToFormat = format; }
    /// Allows textures in smaller formats that lose precision; true initially.
    void setAllowLossyConversion(bool allow) { m_allowLossyConversion = allow; }
    /// Turns the loaded picture into an A8 image of its intensities.
    void setConvertIntensityToAlpha(bool convert) { m_convertIntensityToAlpha = convert; }
    /// Corrects the alpha of the loaded picture as Image::approxGammaCorrectAlpha() does.
    void setApproxGammaCorrectAlpha(bool correct) { m_approxGammaCorrectAlpha = correct; }

    /// Loads the pixels, or keeps them for another 5 seconds.
    /// @errors logs an error once for a resource that cannot be loaded, and an info line once for a glyph
    ///         that does not exist; isSourceValid() is false from then on.
    void preloadData() { load(); }
    /// Creates the texture of this size, or keeps it, as getTexture() does.
    void preloadTexture(Renderer* renderer, const IVec2<int>& size) { getTexture(renderer, size); }
    /// Drops the textures and takes the size of the image, because the owner has changed it.
    void notifyImageChanged();
    /// Drops the textures, and the pixels if they can be loaded again.
    void clearTextureCache();
    /// Drops everything. The sprite has neither pixels nor textures from now on.
    void invalidate();
    /// Calls clearTextureCache(), unless the deadline of the frame is exceeded.
    void slotFreeCaches();

    /// Returns a description for log lines, such as "[SPRITE:type=lambda;size=3x2;resident;textures=1] ".
    String asLogTag() const;

protected:
    /// Creates a sprite without pixels. The sprite listens to System::signalFreeCaches.
    explicit Sprite(Kind kind);
    /// Creates a sprite of a resource; a null name is stored as an empty one.
    static SmartPointer<Sprite> createFromResource(const char* name);
    /// Creates a sprite of a character.
    /// @param descriptor  identifies the font for System::delegateRenderGlyph.
    static SmartPointer<Sprite> createFromGlyph(const IVec2<unsigned>& descriptor, unsigned codepoint);
    /// Loads the pixels if the source allows it, and restarts the 5 seconds.
    void load();
    /// Drops pixels that can be loaded again.
    void unload();
    /// Drops the texture of a size if it exists.
    void unloadTexture(const IVec2<int>& size);

private:
    friend class SpriteCache;

    struct BySize {
        bool operator()(const IVec2<int>& a, const IVec2<int>& b) const {
            return a.x != b.x ? a.x < b.x : a.y < b.y;
        }
    };

    void listen();
    bool isReloadable() const;
    void keepData();
    void obtainPixels();
    void loadResource();
    void reportMissingResource();
    void finishAsyncLoad();
    void loadGlyph();
    void processPixels();
    void takeImageSize();
    void uploadTo(Texture& texture, const IVec2<int>& size);
    std::string kindWord() const;

    Kind m_kind;
    WeakPointer<System> m_system; ///< whose signal it listens to
    unsigned m_codepoint = 0;
    IVec2<unsigned> m_descriptor;
    String m_resourceName;
    bool m_hasMeta = false;
    IVec2<int> m_size;
    bool m_hasData = false;
    Image m_image;
    bool m_sourceInvalid = false;
    bool m_asyncPending = false;
    bool m_isReported = false; ///< the log states already that the glyph does not exist
    bool m_isLoading = false;  ///< so that a generator may ask its own sprite for its pixels
    std::map<IVec2<int>, SmartPointer<Texture>, BySize> m_textures;
    SmartPointer<Alarm> m_unloadAlarm;
    std::function<void(Image&)> m_generator;
    FormatID m_convertToFormat = UnknownFormat;
    bool m_allowLossyConversion = true;
    bool m_convertIntensityToAlpha = false;
    bool m_approxGammaCorrectAlpha = false;
};

} // namespace qel
