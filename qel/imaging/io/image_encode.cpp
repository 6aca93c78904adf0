// Images as files in memory.
#include <qel/imaging/io/image_encode_p.h>

#include <qel/foundation/log/message_stream.h>
#include <qel/imaging/io/codecs_p.h>

namespace qel {
namespace {

/// A format that a file format takes, and what it becomes before it is encoded.
struct Accepted {
    Image::Encoding encoding;
    FormatID format, encodedAs;
};

constexpr Accepted kAccepted[] = {
    {Image::Encoding::Png, RGB8, RGB8},    {Image::Encoding::Png, RGBA8, RGBA8},
    {Image::Encoding::Png, BGR8, RGB8},    {Image::Encoding::Png, BGRA8, RGBA8},
    {Image::Encoding::Png, L8, RGB8},      {Image::Encoding::WebP, RGB8, RGB8},
    {Image::Encoding::WebP, RGBA8, RGBA8}, {Image::Encoding::WebP, BGR8, BGR8},
    {Image::Encoding::WebP, BGRA8, BGRA8}, {Image::Encoding::Bmp, BGR8, BGR8},
    {Image::Encoding::Bmp, BGRA8, BGRA8},  {Image::Encoding::Bmp, RGB8, BGR8},
    {Image::Encoding::Bmp, RGBA8, BGRA8},
};

const Accepted* findAccepted(const Image& image, Image::Encoding encoding) {
    if (!image.hasPixels()) return nullptr;
    for (const Accepted& accepted : kAccepted)
        if (accepted.encoding == encoding && accepted.format == image.getImageFormat()) return &accepted;
    return nullptr;
}

bool encodePacked(const Image& image, Image::Encoding encoding, Buffer& out) {
    switch (encoding) {
    case Image::Encoding::Png:
        return internal::encodePng(image, out);
    case Image::Encoding::WebP:
        return internal::encodeWebP(image, out);
    case Image::Encoding::Bmp:
        return internal::encodeBmp(image, out);
    }
    return false;
}

bool isPacked(const Image& image) {
    return int64{image.getPitch()} * 8 ==
           int64{util::getFormatSizeBits(image.getImageFormat())} * image.getWidth();
}

const char* unsupportedText(Image::Encoding encoding) {
    switch (encoding) {
    case Image::Encoding::Png:
        return "unsupported input format for saving png, getImageFormat()=";
    case Image::Encoding::WebP:
        return "unsupported input format for saving webp, getImageFormat()=";
    case Image::Encoding::Bmp:
        return "unsupported input format for saving bmp, getImageFormat()=";
    }
    return "";
}

} // namespace

bool internal::encodeImage(const Image& image, Image::Encoding encoding, const char* unsupported,
                           Buffer& out) {
    const Accepted* accepted = findAccepted(image, encoding);
    if (!accepted) {
        logging::error() << unsupported << static_cast<int>(image.getImageFormat());
        return false;
    }
    const Image* packed = &image;
    Image converted;
    if (accepted->encodedAs != accepted->format || !isPacked(image)) {
        // L8 is no source of conversions, but UInt8 is, and their pixels are the same.
        const FormatID from = accepted->format == L8 ? UInt8 : accepted->format;
        converted.initialize(accepted->encodedAs, image.getSize());
        if (!converted) return false;
        if (!converted.convertFrom(image.getWidth(), image.getHeight(), from, image.getBytePointer(),
                                   image.getPitch()))
            return false;
        packed = &converted;
    }
    if (encodePacked(*packed, encoding, out)) return true;
    logging::error() << "can not encode image, size=" << image.getWidth() << "x" << image.getHeight();
    return false;
}

bool Image::saveToMemory(Buffer& out, Encoding encoding) const {
    return internal::encodeImage(*this, encoding, unsupportedText(encoding), out);
}

String Image::asPngBase64EncodedString() const {
    constexpr const char* kUnsupported =
        "unsupported input format for write base64 encoded png, getImageFormat()=";
    if (m_format == L8) { // saved as PNG, but not encoded as text
        logging::error() << kUnsupported << static_cast<int>(m_format);
        return {};
    }
    Buffer file;
    if (!internal::encodeImage(*this, Encoding::Png, kUnsupported, file)) return {};
    return String::encodeBase64fromBuffer(file.getBytePointer(), file.getSize(), true);
}

String Image::asWebpBase64EncodedString() const {
    Buffer file;
    if (!internal::encodeImage(
            *this, Encoding::WebP,
            "unsupported input format for write base64 encoded webp, getImageFormat()=", file))
        return {};
    return String::encodeBase64fromBuffer(file.getBytePointer(), file.getSize(), true);
}

} // namespace qel
