// Image: the raster container of the library: a format, up to four planes of pixels, and their memory.
#pragma once

#include <qel/foundation/base/buffer.h>
#include <qel/foundation/base/byte_span.h>
#include <qel/foundation/base/containers.h>
#include <qel/foundation/base/ivec.h>
#include <qel/foundation/base/object.h>
#include <qel/foundation/base/smart_pointer.h>
#include <qel/foundation/base/string.h>
#include <qel/foundation/base/types.h>
#include <qel/imaging/pixels/image_format.h>
#include <qel/platform/api.h>

#include <array>
#include <functional>

namespace qelSq {
class Object;
}

namespace qel {

class MemoryMap;

/// A raster of pixels in memory of its own, or in memory that belongs to somebody else (an external image).
///
/// An image is uninitialised until initialize() or initializeFromExtern() succeeds, and again after clear()
/// and free(); it tests true while it is initialised. Pixels in memory of its own are packed: a row follows
/// the other without padding, and a plane the other without alignment. External images have any pitch.
///
/// A copy or a move transfers the own memory only. A copy of an external image tests true and has its format
/// and size, but no pixels (hasPixels() is false); the operations below refuse it as a source. Pass external
/// images by reference or exchange them by swap(). A moved-from image still tests true although its pixels
/// now belong to the other: initialise or destroy it before any other use.
///
/// Operations named xxxFrom() write into this image and read the argument, which may be this image itself.
/// They may be called from any number of threads and tasks at once, on images of their own; large ones use
/// idle workers and never wait for a worker without working themselves. Without a System they run on the
/// calling thread, with the same results.
/// @threads one thread at a time for changes, any number for reading. Nobody may initialise or swap an image
/// while others read or write its pixels.
class QEL_API Image : public Object {
    QEL_CLASS(Image, Object)

public:
    /// How saveToMemory() encodes.
    enum class Encoding {
        Png,  ///< PNG, lossless
        WebP, ///< WebP, lossy with a quality of 70
        Bmp,  ///< uncompressed BMP
    };

    /// Creates an uninitialised image.
    Image() = default;
    /// Creates an image as initialize() does.
    Image(FormatID format, const IVec2<int>& size) { initialize(format, size); }
    /// Copies format, size and the own memory, packed; neither external memory nor the release hook.
    Image(const Image& other);
    /// Takes over the own memory; @p other keeps its plane table and its release hook.
    Image(Image&& other) noexcept;
    /// Copies like the copy constructor; the own release hook stays.
    Image& operator=(const Image& other);
    /// Swaps the own memory with that of @p other, which keeps its plane table and its release hook.
    Image& operator=(Image&& other) noexcept;
    /// Calls the release hook if there is one, then frees the own memory.
    ~Image() override;

    // --- storage (image.cpp) ----------------------------------------------------------------------------

    /// Reserves memory for the pixels, whose values are undefined. A size of 0 in a direction is valid.
    /// Memory that is large enough is reused.
    /// @errors logs one error and leaves the image uninitialised, with its memory, if the format is unknown,
    /// a side is negative, a pitch exceeds 2^31 - 1, a plane exceeds 2^32 - 1 bytes, or there is no memory.
    void initialize(FormatID format, const IVec2<int>& size);
    /// Does the same in the memory of @p data, whose bytes stay if they are at least as many as needed.
    /// @owner takes the memory of @p data, which receives the memory of this image.
    void initialize(FormatID format, const IVec2<int>& size, Buffer&& data);
    /// Adopts memory of the caller without copying it.
    ///
    /// Y1UV2 and Y1VU2 take two planes, Y1U2V2 and Y1V2U2 three, every other format one, also MP_RGB8_O16 and
    /// MP_UInt16_O16. Y1V2U2 does not store the pitches: it keeps those that the image had, so a host first
    /// calls initialize(Y1V2U2, size).
    /// @param planes   first row of each plane, and the bytes from there on. The last row needs no padding.
    /// @param pitches  bytes from one row to the next. A negative pitch is not checked against the span.
    /// @param release  is called once: in the destructor, or when another call replaces it.
    /// @errors logs one error and leaves the image uninitialised, but keeps @p release, if the format is
    /// unknown, a side is negative, a list has too few entries, a span is too short for its pitch, or a plane
    /// exceeds 2^32 - 1 bytes.
    void initializeFromExtern(FormatID format, const IVec2<int>& size, const Vector<ByteSpan>& planes,
                              const Vector<int>& pitches, std::function<void()> release);
    /// Exchanges everything but the release hooks: the owner of external memory may then be the other object.
    void swap(Image& other) noexcept;
    /// Makes the image uninitialised and keeps its memory for the next initialize().
    void clear() { m_planes = 0; }
    /// Makes the image uninitialised and frees its own memory.
    void free();

    /// Returns true between a successful initialisation and clear() or free().
    bool isInitialized() const { return m_planes > 0; }
    /// Returns isInitialized().
    explicit operator bool() const { return isInitialized(); }
    /// Returns true if the image is initialised and its pixels are not in its own memory.
    bool isExternal() const;
    /// Returns true if the image is initialised and every plane that has a size has memory. A copy of an
    /// external image has no memory.
    bool hasPixels() const;

    /// Returns the format of the image as a whole.
    FormatID getImageFormat() const { return m_format; }
    /// Returns the width of plane 0 in pixels.
    int getWidth() const { return m_planeSize[0].x; }
    /// Returns the height of plane 0 in pixels.
    int getHeight() const { return m_planeSize[0].y; }
    /// Returns width and height of plane 0 in pixels.
    const IVec2<int>& getSize() const { return m_planeSize[0]; }
    /// Returns the bytes from one row of plane 0 to the next.
    int getPitch() const { return m_planePitch[0]; }
    /// Returns the sum of getPlaneByteSize() over all planes; 0 for an uninitialised image.
    size_t getByteSize() const;
    /// Returns the first byte of a row of plane 0; null if the plane has no memory.
    uint8* getBytePointer(int row = 0) { return getPlaneBytePointer(0, row); }
    /// Returns the first byte of a row of plane 0; null if the plane has no memory.
    const uint8* getBytePointer(int row = 0) const { return getPlaneBytePointer(0, row); }

    /// Returns the number of planes; 0 for an uninitialised image. Planes are numbered from 0 and must exist.
    unsigned getNumberOfPlanes() const { return m_planes; }
    /// Returns the first byte of a row of a plane; null if the plane has no memory.
    uint8* getPlaneBytePointer(unsigned plane, int row = 0) { return rowOf(plane, row); }
    /// Returns the first byte of a row of a plane; null if the plane has no memory.
    const uint8* getPlaneBytePointer(unsigned plane, int row = 0) const { return rowOf(plane, row); }
    /// Returns the absolute value of the plane's pitch times its height.
    unsigned getPlaneByteSize(unsigned plane) const { return m_planeByteSize[plane]; }
    /// Returns the format of a plane; that of the whole image if it has one plane.
    FormatID getPlaneFormat(unsigned plane) const { return m_planeFormat[plane]; }
    /// Returns the bytes from one row of a plane to the next.
    int getPlanePitch(unsigned plane) const { return m_planePitch[plane]; }
    /// Returns width and height of a plane in pixels.
    const IVec2<int>& getPlaneSize(unsigned plane) const { return m_planeSize[plane]; }

    // --- conversion (image_convert.cpp) -----------------------------------------------------------------

    /// Converts @p source into this image's own format and size. Of a larger source the centre is taken.
    ///
    /// Conversions between RGBA8 or BGRA8 and YUV work on pairs of rows: the last row of an odd height is not
    /// written, so that an image of height 1 is unchanged. RGBA8 uses the full-range matrix, BGRA8 the
    /// video-range one.
    /// @errors logs an error and returns false if this image is uninitialised, larger than the source, or has
    /// a format that the source's format cannot be converted to; the target is left as far as it was written.
    bool convertFrom(const Image& source);
    /// Converts one plane of memory of the caller.
    /// @param pitch  bytes from one row to the next.
    bool convertFrom(int width, int height, FormatID format, const uint8* p, int pitch);
    /// Converts two planes of memory of the caller.
    bool convertFrom(int width, int height, FormatID format, const uint8* p0, int pitch0, const uint8* p1,
                     int pitch1);
    /// Converts three planes of memory of the caller.
    bool convertFrom(int width, int height, FormatID format, const uint8* p0, int pitch0, const uint8* p1,
                     int pitch1, const uint8* p2, int pitch2);

    // --- alpha and intensity (image_intensity.cpp) ------------------------------------------------------

    /// Becomes an A8 image whose alpha is the mean of the source's three colours, or the source's L8 bytes.
    /// @return false, logged as info, for sources other than RGB8, BGR8, RGBA8 and L8; this image then stays.
    bool convertIntensityToAlphaFrom(const Image& source);
    /// Replaces the alpha of A8, LA8 and RGBA8 images, so that text has the same weight on dark and on light
    /// backgrounds. @return false for other formats and for images without pixels.
    bool approxGammaCorrectAlpha();
    /// Becomes the image of @p source with each channel multiplied by `mulAdd.x`, increased by `mulAdd.y`,
    /// rounded and limited to 0 to 255: RGB8 for an RGB8 source, L8 for a UInt16 or L16 source.
    /// @errors logs an error and leaves this image as it is for other sources.
    void multiplyAddReduceTo8BitFrom(const Image& source, const IVec2<float>& mulAdd);

    // --- smaller formats for textures (image_optimize.cpp) ----------------------------------------------

    /// Becomes the image of @p source in a smaller format that represents every pixel exactly: RGB8, L8, A8
    /// or LA8. Pixels that are all white become A8, which renderers read as white.
    /// @return false if no such format exists; this image is then unchanged.
    bool optimizeLosslessForTextureFrom(const Image& source);
    /// Does the same with small deviations from grey, opaque and white allowed. Colours become RGBA4 or
    /// RGB565 unless the application's renderer is the software renderer. @threads main thread.
    bool optimizeLossyForTextureFrom(const Image& source);

    // --- geometry (image_resize.cpp, image_crop.cpp, image_rotate.cpp) ----------------------------------

    /// Resizes @p source into this image's own size: bilinear where an axis grows, the mean of the covered
    /// area where it shrinks. Equal sizes copy. Planes of packed formats such as RGB565 are skipped silently.
    /// @errors logs an error and returns false if this image is uninitialised, or the planes of both images
    /// differ in number or pixel type.
    bool resizeFrom(const Image& source);
    /// Returns true if resizeFrom() computes every plane of images of this format.
    bool isResizable() const;
    /// Becomes a part of @p source. @param bounds  left, top, right and bottom in pixels; the last two
    /// exclusive.
    /// @errors logs an error and returns false for bounds that are empty or reach outside, which leave this
    /// image as it is, and for formats with planes of half the size, of which plane 0 is copied.
    bool cropFrom(const Image& source, const IVec4<int>& bounds);
    /// Becomes @p source, rotated clockwise. @param quarterTurns  is taken modulo 4.
    /// @errors logs an error and leaves this image as it is if the source has no pixels.
    void rotateFrom(const Image& source, int quarterTurns);
    /// Computes the sum of squared differences of the first `width` bytes of each row, divided by the number
    /// of all bytes. The result is not a true mean: it covers a third or a quarter of each row, and it is 0
    /// for images that differ elsewhere. It is 0 for empty images.
    /// @return false unless both images are RGB8, or both RGBA8, of the same size.
    bool computeMeanSquaredError(const Image& other, float& result) const;

    // --- lookup tables for textures (image_lookup_tables.cpp) -------------------------------------------

    /// Becomes an RGBA8 image of @p steps by 1 pixels: pixel i is @p f at i / (steps - 1) of the way from
    /// @p begin to @p end. A channel is multiplied by 255, rounded with halves away from zero, and cut to its
    /// low byte: values outside 0 to 1 wrap, and NaN is 0. A table of one step contains @p f at @p begin.
    /// @param steps  1 to kMaximumTableSteps.
    /// @return scale and bias from a value to its coordinate: @p begin maps to the centre of the first
    /// pixel and @p end to that of the last. They are not finite if @p begin equals @p end; (0, 0.5) for one
    /// step.
    /// @errors logs an error, returns (0, 0) and leaves the image uninitialised for other numbers of steps
    /// and if there is no memory.
    IVec2<float> createLookupTableForTexture(unsigned steps, float begin, float end,
                                             const std::function<IVec4<float>(float)>& f);
    /// Becomes an RGBA8 image of @p steps by @p steps pixels: row a and column b contain the mean of @p f at
    /// the steps after the smaller and up to the larger of both; the diagonal contains @p f itself. Bytes,
    /// result and errors are those of createLookupTableForTexture(). @p f is called once per step.
    IVec2<float> createPreintegrationForTexture(unsigned steps, float begin, float end,
                                                const std::function<IVec4<float>(float)>& f);
    /// The most steps of a lookup table.
    static constexpr unsigned kMaximumTableSteps = 16384;

    // --- a picture (volume/mini_raytracer.cpp) ----------------------------------------------------------

    /// Becomes a ray-traced picture of a small animated scene, opaque, in BGRA8. The scene repeats every
    /// 131,072 ms of System::getTime(); the bytes depend on the time alone.
    /// @param small  true for 120 by 70 pixels, false for 7680 by 4320.
    /// @return the number of rays that were traced; 0 if there is no memory for the image.
    unsigned synthesize(bool small);

    // --- files (imaging/io) -----------------------------------------------------------------------------

    /// Decodes a PNG file to RGBA8, or a WebP file to RGB8 or RGBA8.
    ///
    /// A file whose header states more pixels than setDecodeLimit() allows, or more than 2^26 + 8256 times
    /// its bytes, is refused before it is decoded.
    /// @errors false, and this image is unchanged. A PNG error prints one line on standard output; an
    /// animated WebP logs an error. @threads any thread.
    bool loadFromMemory(const uint8* data, unsigned size);
    /// Decodes the content of a buffer.
    bool loadFromMemory(const Buffer& data);
    /// Decodes a mapped file. @errors false, and an error line if the file cannot be mapped.
    bool loadFromMemory(MemoryMap* map);
    /// Decodes the file @p path.
    bool loadFromFile(const char* path);
    /// Decodes the resource @p name; a missing one is not logged.
    bool loadFromResource(const char* name);
    /// Requests the resource @p name. When it arrives, it is decoded and @p done is called, both on the main
    /// queue, even if it could not be decoded (ask isInitialized()); neither if this image or the System is
    /// destroyed meanwhile. @return true if a provider accepted the request.
    bool loadFromResourceAsync(const char* name, std::function<void()> done);
    /// Loads files in order and appends them to @p out, converted to @p format where theirs differs.
    /// @errors logs an error and returns false at the first failure; what was appended stays.
    static bool loadPngSeries(Vector<String>& paths, Vector<SmartPointer<Image>>& out, FormatID format);
    /// Sets the most pixels of a file that is decoded; the default is 2^28. @threads any thread.
    static void setDecodeLimit(uint64 pixels);

    /// Writes a file: PNG, WebP (lossy, quality 70) or BMP for a path that ends in ".png", ".webp" or ".bmp"
    /// in lower case; every other file is written by the program of setImageMagick().
    /// @param forceBmp  writes BMP whatever the path.
    /// @errors logs an error and returns false if the format cannot be saved, or the file cannot be encoded
    /// or written; no partial file stays, and an existing file stays unchanged.
    bool saveTo(const char* path, bool forceBmp = false) const;
    /// Encodes into @p out, as saveTo() does. @errors logs an error, returns false and leaves @p out as it
    /// is.
    bool saveToMemory(Buffer& out, Encoding encoding) const;
    /// Returns a PNG file as base64 with padding; an empty text, with an error line, if the format is not
    /// RGB8, RGBA8, BGR8 or BGRA8.
    String asPngBase64EncodedString() const;
    /// Returns a WebP file as base64, as asPngBase64EncodedString() does.
    String asWebpBase64EncodedString() const;
    /// Sets the program that converts files for saveTo(); it receives an input and an output path.
    /// @param convertPath         null or empty for none.
    /// @param temporaryDirectory  the folder for its input; null or empty for the system's.
    /// @threads one thread, before others save.
    static void setImageMagick(const char* convertPath, const char* temporaryDirectory);

    /// Fills the script class @p cls. Defined in script/image_binding.cpp.
    static void bindSqVM(qelSq::Object* cls);

protected:
    /// Sets all fields of the planes for packed pixels at @p base. @pre the sizes are valid.
    /// @param base  null if there is no memory: the image has no pixels then.
    void update(FormatID format, const IVec2<int>& size, uint8* base);

private:
    static constexpr unsigned kMaxPlanes = 4;

    uint8* rowOf(unsigned plane, int row) const;
    void adopt(const Image& other);

    FormatID m_format = UnknownFormat;
    unsigned m_planes = 0;
    std::array<uint8*, kMaxPlanes> m_planePointer{};
    std::array<FormatID, kMaxPlanes> m_planeFormat{};
    std::array<int, kMaxPlanes> m_planePitch{};
    std::array<IVec2<int>, kMaxPlanes> m_planeSize{};
    std::array<unsigned, kMaxPlanes> m_planeByteSize{};
    Buffer m_buffer;
    std::function<void()> m_releaseExtern;
};

} // namespace qel
