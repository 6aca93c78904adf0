#include <qel/imaging/pixels/image_format.h>

namespace qel::util {
namespace {

constexpr int kFirstOfChannels[] = {101, 121, 141, 161};
constexpr int kComponentTypes = 10;
constexpr int kComponentBits[kComponentTypes] = {8, 8, 16, 16, 32, 32, 64, 64, 32, 64};

/// Returns the channels of a numeric format; 0 for other formats.
int numericChannels(FormatID format) {
    int channels = 0;
    for (const int first : kFirstOfChannels) {
        ++channels;
        if (format >= first && format < first + kComponentTypes) return channels;
    }
    return 0;
}

int displaySizeBits(FormatID format) {
    switch (format) {
    case L8:
    case A8:
        return 8;
    case LA8:
    case RGB565:
    case RGBA4:
    case RGBA5551:
    case L16:
    case X16:
        return 16;
    case RGB8:
    case BGR8:
        return 24;
    case RGBA8:
    case BGRA8:
    case UInt16O16:
    case MP_UInt16_O16:
        return 32;
    case RGB8O16:
    case MP_RGB8_O16:
        return 40;
    case Y1UV2:
    case Y1U2V2:
    case Y1V2U2:
    case Y1VU2:
        return 12;
    default:
        return -1;
    }
}

} // namespace

int getFormatSizeBits(FormatID format) {
    const int channels = numericChannels(format);
    if (channels == 0) return displaySizeBits(format);
    return channels * kComponentBits[format - kFirstOfChannels[channels - 1]];
}

int getFormatPlanes(FormatID format) {
    switch (format) {
    case MP_RGB8_O16:
    case MP_UInt16_O16:
    case Y1UV2:
    case Y1VU2:
        return 2;
    case Y1U2V2:
    case Y1V2U2:
        return 3;
    default:
        return 1;
    }
}

int getFormatChannels(FormatID format) {
    if (const int channels = numericChannels(format)) return channels;
    switch (format) {
    case RGB8:
    case RGB565:
        return 3;
    case RGBA8:
    case RGBA4:
    case RGBA5551:
        return 4;
    default:
        return 1;
    }
}

int selectJPEGCompressionFormat(FormatID format) {
    if (format == UInt16) return 406;
    return format == RGB8 ? 405 : 0;
}

} // namespace qel::util
