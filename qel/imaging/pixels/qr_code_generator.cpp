#include <qel/imaging/pixels/qr_code_generator.h>

#include <qel/foundation/log/message_stream.h>

#include <qrcodegen/qrcodegen.hpp>

#include <cstring>
#include <exception>
#include <optional>

namespace qel {
namespace {

using qrcodegen::QrCode;

/// The most digits of any symbol. Other texts hold less; the encoder would take long to find out.
constexpr size_t kMostBytes = 5596;
constexpr unsigned kMostSide = 32767;

std::optional<QrCode> encode(const char* text) {
    if (!text || std::strlen(text) > kMostBytes) return std::nullopt;
    try {
        return QrCode::encodeText(text, QrCode::Ecc::MEDIUM);
    } catch (const std::exception&) {
        return std::nullopt;
    }
}

} // namespace

Image QRCodeGenerator::generate(const char* text, unsigned border) {
    Image image;
    const std::optional<QrCode> code = encode(text);
    if (!code || border > kMostSide || static_cast<unsigned>(code->getSize()) + 2 * border > kMostSide) {
        logging::error() << "can not encode text as QR code, border=" << border;
        return image;
    }
    const int size = code->getSize(), margin = static_cast<int>(border);
    image.initialize(UInt8, {size + 2 * margin, size + 2 * margin});
    if (!image) return image;
    if (border != 0) std::memset(image.getBytePointer(), 255, image.getByteSize());
    for (int y = 0; y < size; ++y) {
        uint8* row = image.getBytePointer(margin + y) + margin;
        for (int x = 0; x < size; ++x) row[x] = code->getModule(x, y) ? 0 : 255;
    }
    return image;
}

} // namespace qel
