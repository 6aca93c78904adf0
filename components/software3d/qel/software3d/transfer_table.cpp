#include <qel/software3d/transfer_table_p.h>

#include <qel/render/texture_software.h>

#include <algorithm>
#include <cmath>
#include <limits>

namespace qel::internal {
namespace {

constexpr int kNone = std::numeric_limits<int>::max();

/// Returns the pixels of a texture; null unless they are RGBA8.
SmartPointer<Image> pixelsOf(Texture* texture) {
    auto* const software = dynamic_cast<TextureSoftware*>(texture);
    if (software == nullptr || !software->getImage().hasPixels()) return {};
    return software->getImage().getImageFormat() == RGBA8 ? software->getSharedImage()
                                                          : SmartPointer<Image>();
}

Rgba mix(const Rgba& a, const Rgba& b, float f) {
    return {a.r + (b.r - a.r) * f, a.g + (b.g - a.g) * f, a.b + (b.b - a.b) * f, a.a + (b.a - a.a) * f};
}

Rgba texel(const uint8* pixel) {
    constexpr float kUnit = 1 / 255.0f;
    return {static_cast<float>(pixel[0]) * kUnit, static_cast<float>(pixel[1]) * kUnit,
            static_cast<float>(pixel[2]) * kUnit, static_cast<float>(pixel[3]) * kUnit};
}

uint8 alphaAt(const Image& image, int row, int column) {
    return image.getBytePointer(row)[size_t{4} * static_cast<size_t>(column) + 3];
}

Vector<int> nextOpaqueOfLine(const Image& image, int size) {
    Vector<int> next(static_cast<size_t>(size) + 1, kNone);
    for (int i = size - 1; i >= 0; --i)
        next[static_cast<size_t>(i)] = alphaAt(image, 0, i) != 0 ? i : next[static_cast<size_t>(i) + 1];
    return next;
}

/// Returns for each i the smallest n for which the square from (i, i) to (n, n) is not clear.
Vector<int> nextOpaqueOfSquare(const Image& image, int size) {
    Vector<int> next(static_cast<size_t>(size) + 1, kNone);
    for (int i = size - 1; i >= 0; --i) {
        int first = next[static_cast<size_t>(i) + 1];
        for (int k = i; k < std::min(size, first); ++k)
            if (alphaAt(image, i, k) != 0 || alphaAt(image, k, i) != 0) first = k;
        next[static_cast<size_t>(i)] = first;
    }
    return next;
}

} // namespace

TransferTable::Texels::Texels(Texture* texture, bool isSquare) : image(pixelsOf(texture)) {
    if (!image) return;
    isLinear = texture->getFilter() == Filter::Bilinear;
    size = isSquare ? std::min(image->getWidth(), image->getHeight()) : image->getWidth();
    if (size > 0) nextOpaque = isSquare ? nextOpaqueOfSquare(*image, size) : nextOpaqueOfLine(*image, size);
}

/// Returns where a coordinate lies, in texels from the centre of the first one.
float TransferTable::Texels::place(float t) const {
    const auto count = static_cast<float>(size);
    const float texels = (std::isfinite(t) ? t : 0.5f) * count;
    const float at = isLinear ? texels - 0.5f : std::floor(texels);
    return std::clamp(at, 0.0f, count - 1);
}

bool TransferTable::Texels::isClear(float low, float high) const {
    if (size == 0) return true;
    const auto first = static_cast<size_t>(low);
    return nextOpaque[first] > static_cast<int>(high) + 1;
}

TransferTable::TransferTable(Texture* line, Texture* square) : m_line(line, false), m_square(square, true) {}

bool TransferTable::isMadeOf(Texture* line, Texture* square) const {
    const auto matches = [](const Texels& texels, Texture* texture) {
        return texels.image == pixelsOf(texture) &&
               (!texels.image || texels.isLinear == (texture->getFilter() == Filter::Bilinear));
    };
    return matches(m_line, line) && matches(m_square, square);
}

Rgba TransferTable::line(float place) const {
    const auto low = static_cast<int>(place);
    const int high = std::min(low + 1, m_line.size - 1);
    const uint8* const row = m_line.image->getBytePointer();
    return mix(texel(row + size_t{4} * static_cast<size_t>(low)),
               texel(row + size_t{4} * static_cast<size_t>(high)), place - static_cast<float>(low));
}

Rgba TransferTable::square(float row, float column) const {
    const auto lowRow = static_cast<int>(row), lowColumn = static_cast<int>(column);
    const int highRow = std::min(lowRow + 1, m_square.size - 1);
    const int highColumn = std::min(lowColumn + 1, m_square.size - 1);
    const auto at = [&](int r, int c) {
        return texel(m_square.image->getBytePointer(r) + size_t{4} * static_cast<size_t>(c));
    };
    const float f = column - static_cast<float>(lowColumn);
    return mix(mix(at(lowRow, lowColumn), at(lowRow, highColumn), f),
               mix(at(highRow, lowColumn), at(highRow, highColumn), f), row - static_cast<float>(lowRow));
}

/// Returns the value of the line, which is the diagonal of the square.
Rgba TransferTable::diagonal(float place) const {
    const auto low = static_cast<int>(place);
    const int high = std::min(low + 1, m_square.size - 1);
    const auto at = [&](int i) {
        return texel(m_square.image->getBytePointer(i) + size_t{4} * static_cast<size_t>(i));
    };
    return mix(at(low), at(high), place - static_cast<float>(low));
}

Rgba TransferTable::at(float t) const {
    return line(m_line.place(t));
}

Rgba TransferTable::mean(float t0, float t1) const {
    float low = m_square.place(t0), high = m_square.place(t1);
    if (low > high) std::swap(low, high);
    const Rgba first = diagonal(low), last = diagonal(high);
    const float distance = high - low;
    if (distance < 1) return mix(first, last, 0.5f);
    const Rgba biased = square(low, high);
    const float share = 0.5f / distance;
    return {toUnit(biased.r + (first.r - last.r) * share), toUnit(biased.g + (first.g - last.g) * share),
            toUnit(biased.b + (first.b - last.b) * share), toUnit(biased.a + (first.a - last.a) * share)};
}

bool TransferTable::isClear(float t0, float t1, bool means) const {
    const Texels& texels = means ? m_square : m_line;
    const float a = texels.place(t0), b = texels.place(t1);
    return texels.isClear(std::min(a, b), std::max(a, b));
}

} // namespace qel::internal
