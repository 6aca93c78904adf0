#include "commands.h"
#include "input_file.h"
#include "output.h"
#include "pixels.h"

#include <hosts/shared/standard_output.h>
#include <qel/foundation/base/number_format.h>

#include <algorithm>
#include <cstdlib>

namespace qelimage {

namespace {

using qel::Image;
using qel::uint64;
using qel::uint8;

int channelsOf(const Image& image) {
    return image.getImageFormat() == qel::RGBA8 ? 4 : 3;
}

/// What two pictures of the same size and format differ in.
struct Differences {
    uint64 pixels = 0;  ///< number of pixels that differ
    uint64 squares = 0; ///< sum of the squared differences of all bytes
    int largest = 0;    ///< the largest difference of two bytes

    void add(const uint8* a, const uint8* b, int channels) {
        bool isDifferent = false;
        for (int c = 0; c < channels; ++c) {
            const int difference = std::abs(a[c] - b[c]);
            isDifferent = isDifferent || difference != 0;
            squares += static_cast<uint64>(difference * difference);
            largest = std::max(largest, difference);
        }
        pixels += isDifferent;
    }
};

/// Calls @p visit with each pixel of two pictures of the same size and format.
template <class Visit>
void forEachPair(const Image& a, const Image& b, Visit visit) {
    const int channels = channelsOf(a);
    for (int y = 0; y < a.getHeight(); ++y) {
        const uint8* pixelA = a.getBytePointer(y);
        const uint8* pixelB = b.getBytePointer(y);
        for (int x = 0; x < a.getWidth(); ++x, pixelA += channels, pixelB += channels)
            visit(pixelA, pixelB, x, y);
    }
}

Differences findDifferences(const Image& a, const Image& b) {
    Differences found;
    const int channels = channelsOf(a);
    forEachPair(a, b, [&](const uint8* pixelA, const uint8* pixelB, int, int) {
        found.add(pixelA, pixelB, channels);
    });
    return found;
}

/// Returns the absolute differences of the colours, with those of alpha added to each of them.
Image drawDifferences(const Image& a, const Image& b) {
    Image picture(qel::RGB8, a.getSize());
    if (!picture) return picture;
    const bool hasAlpha = channelsOf(a) == 4;
    forEachPair(a, b, [&](const uint8* pixelA, const uint8* pixelB, int x, int y) {
        const int alpha = hasAlpha ? std::abs(pixelA[3] - pixelB[3]) : 0;
        uint8* pixel = picture.getBytePointer(y) + 3 * x;
        for (int c = 0; c < 3; ++c)
            pixel[c] = static_cast<uint8>(std::min(255, std::abs(pixelA[c] - pixelB[c]) + alpha));
    });
    return picture;
}

std::string sizeOf(const Image& image) {
    return std::to_string(image.getWidth()) + " x " + std::to_string(image.getHeight());
}

/// Prints the result for pictures of the same size and format. @return true if they are equal.
bool report(const Image& a, const Image& b) {
    const Differences found = findDifferences(a, b);
    const uint64 pixels = uint64(a.getWidth()) * uint64(a.getHeight());
    const uint64 bytes = pixels * uint64(channelsOf(a));
    if (found.pixels == 0) {
        qelhosts::print("equal: all " + std::to_string(bytes) + " bytes\n");
        return true;
    }
    float specified = 0;
    if (!a.computeMeanSquaredError(b, specified)) complain("the figure of the library is not available");
    qelhosts::print(qel::util::stringFormat("different: %llu of %llu pixels, at most by %d\n"
                                            "mean squared error of all bytes: %.6g\n"
                                            "computeMeanSquaredError, of the first 1/%d of each row: %.6g\n",
                                            found.pixels, pixels, found.largest,
                                            static_cast<double>(found.squares) / static_cast<double>(bytes),
                                            channelsOf(a), static_cast<double>(specified)));
    return false;
}

} // namespace

int comparePictures(const Options& options) {
    const std::string& path = options.difference;
    const auto encoding = path.empty() ? Image::Encoding::Png : findEncoding(path);
    Image a, b;
    if (!encoding || !loadPicture(a, options.arguments[1]) || !loadPicture(b, options.arguments[2]))
        return kTrouble;
    if (a.getSize() != b.getSize()) {
        qelhosts::print("different: " + sizeOf(a) + " and " + sizeOf(b) + " pixels\n");
        if (path.empty()) return 1;
        complain("pictures of different sizes have no picture of their differences");
        return kTrouble;
    }
    if (a.getImageFormat() != b.getImageFormat() && !(convertToRgba(a) && convertToRgba(b))) return kTrouble;
    const bool areEqual = report(a, b);
    const int status = path.empty() ? 0 : savePicture(drawDifferences(a, b), path, *encoding);
    return status == 0 && !areEqual ? 1 : status;
}

} // namespace qelimage
