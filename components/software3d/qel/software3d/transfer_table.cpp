#include <qel/software3d/transfer_table_p.h>

#include <qel/render/texture_software.h>

#include <algorithm>
#include <cmath>
#include <cstring>
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

uint32 texelAt(const Image& image, int row, int column) {
    uint32 texel = 0;
    std::memcpy(&texel, image.getBytePointer(row) + size_t{4} * static_cast<size_t>(column), sizeof(texel));
    return texel;
}

bool isOpaque(uint32 texel) {
    return texel >> 24 != 0;
}

/// Returns the texels of the line, or of the diagonal of the square, with R in the lowest byte; the last one
/// twice.
Vector<uint32> diagonalOf(const Image& image, int size, bool isSquare) {
    Vector<uint32> diagonal;
    for (int i = 0; i < size; ++i) diagonal.push_back(texelAt(image, isSquare ? i : 0, i));
    diagonal.push_back(diagonal.back());
    return diagonal;
}

Vector<TexelPair> pairsOf(const Vector<uint32>& line) {
    Vector<TexelPair> pairs(line.size() - 1);
    for (size_t i = 0; i < pairs.size(); ++i)
        for (int c = 0; c < 4; ++c)
            for (size_t k = 0; k < 2; ++k)
                pairs[i].channels[c][k] = static_cast<int16>(line[i + k] >> 8 * c & 255);
    return pairs;
}

Vector<int> nextOpaqueOf(const Vector<uint32>& line) {
    Vector<int> next(line.size(), kNone); // of the line and one more
    for (size_t i = line.size() - 1; i-- > 0;)
        next[i] = isOpaque(line[i]) ? static_cast<int>(i) : next[i + 1];
    return next;
}

/// Returns for each i the smallest n for which the square from (i, i) to (n, n) is not clear.
Vector<int> nextOpaqueOfSquare(const Image& image, int size) {
    Vector<int> next(static_cast<size_t>(size) + 1, kNone);
    for (int i = size - 1; i >= 0; --i) {
        int first = next[static_cast<size_t>(i) + 1];
        for (int k = i; k < std::min(size, first); ++k)
            if (isOpaque(texelAt(image, i, k)) || isOpaque(texelAt(image, k, i))) first = k;
        next[static_cast<size_t>(i)] = first;
    }
    return next;
}

Rgba operator+(const Rgba& a, const Rgba& b) {
    return {a.r + b.r, a.g + b.g, a.b + b.b, a.a + b.a};
}

Rgba operator-(const Rgba& a, const Rgba& b) {
    return {a.r - b.r, a.g - b.g, a.b - b.b, a.a - b.a};
}

Rgba operator*(const Rgba& a, float f) {
    return {a.r * f, a.g * f, a.b * f, a.a * f};
}

/// Returns the channels of a texel, 0 to 255.
Rgba channels(uint32 texel) {
    return {static_cast<float>(texel & 255), static_cast<float>(texel >> 8 & 255),
            static_cast<float>(texel >> 16 & 255), static_cast<float>(texel >> 24)};
}

/// Returns the channels, 0 to 255, at a place on the diagonal.
Rgba diagonalAt(const TransferTexels& texels, float place) {
    const int low = static_cast<int>(place);
    const int part = static_cast<int>((place - static_cast<float>(low)) * kTexelParts);
    const auto& pair = texels.pairs[static_cast<size_t>(low)].channels;
    const auto channel = [&](int c) {
        return static_cast<float>(pair[c][0] * (kTexelParts - part) + pair[c][1] * part) / kTexelParts;
    };
    return {channel(0), channel(1), channel(2), channel(3)};
}

/// Returns the channels, 0 to 255, at a place in a square of at least 2 by 2 texels.
Rgba squareAt(const TransferTexels& texels, float row, float column) {
    const int top = texels.lower(row), left = texels.lower(column);
    const float f = column - static_cast<float>(left);
    const auto at = [&](int y) {
        return mix(channels(texelAt(*texels.image, y, left)), channels(texelAt(*texels.image, y, left + 1)),
                   f);
    };
    return mix(at(top), at(top + 1), row - static_cast<float>(top));
}

} // namespace

TransferTexels::TransferTexels(Texture* texture, bool isSquare) : image(pixelsOf(texture)) {
    if (!image) return;
    isLinear = texture->getFilter() == Filter::Bilinear;
    size = isSquare ? std::min(image->getWidth(), image->getHeight()) : image->getWidth();
    if (size <= 0) return;
    const Vector<uint32> diagonal = diagonalOf(*image, size, isSquare);
    pairs = pairsOf(diagonal);
    nextOpaque = nextOpaqueOf(diagonal);
    if (!isSquare) return;
    Vector<int> next = nextOpaqueOfSquare(*image, size);
    followsDiagonal = next == nextOpaque;
    nextOpaque.swap(next);
}

float TransferTexels::place(float t) const {
    const auto count = static_cast<float>(size);
    const float texels = (std::isfinite(t) ? t : 0.5f) * count;
    const float at = isLinear ? texels - 0.5f : std::floor(texels);
    return std::clamp(at, 0.0f, count - 1);
}

int TransferTexels::lower(float place) const {
    return std::min(static_cast<int>(place), lastLower());
}

bool TransferTexels::isClear(float low, float high) const {
    if (size == 0) return true;
    const auto first = static_cast<size_t>(low);
    return nextOpaque[first] > static_cast<int>(high) + 1;
}

TransferTable::TransferTable(Texture* line, Texture* square) : m_line(line, false), m_square(square, true) {}

bool TransferTable::isMadeOf(Texture* line, Texture* square) const {
    const auto matches = [](const TransferTexels& texels, Texture* texture) {
        return texels.image == pixelsOf(texture) &&
               (!texels.image || texels.isLinear == (texture->getFilter() == Filter::Bilinear));
    };
    return matches(m_line, line) && matches(m_square, square);
}

Rgba TransferTable::at(float t) const {
    return diagonalAt(m_line, m_line.place(t)) * kColorUnit;
}

Rgba TransferTable::mean(float t0, float t1) const {
    const float first = m_square.place(t0), last = m_square.place(t1), distance = last - first;
    const Rgba before = diagonalAt(m_square, first), after = diagonalAt(m_square, last);
    if (std::fabs(distance) < 1) return (before + after) * (0.5f * kColorUnit);
    const Rgba biased = squareAt(m_square, std::min(first, last), std::max(first, last));
    const Rgba mean = (biased + (before - after) * (0.5f / distance)) * kColorUnit;
    return {toUnit(mean.r), toUnit(mean.g), toUnit(mean.b), toUnit(mean.a)};
}

bool TransferTable::isClear(float t0, float t1, bool means) const {
    const TransferTexels& read = texels(means);
    const float a = read.place(t0), b = read.place(t1);
    return read.isClear(std::min(a, b), std::max(a, b));
}

} // namespace qel::internal
