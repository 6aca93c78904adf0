// Images for tests: pixels without a pattern, in memory whose every byte around them is watched.
#pragma once

#include <qel/imaging/pixels/image.h>
#include <tests/support/simd_target.h>

#include <cstdint>
#include <string>
#include <vector>

namespace qel::test {

using Size = IVec2<int>;
using Bytes = std::vector<uint8>;

/// Returns widths of rows: all up to 67, and some at which the widest vectors work repeatedly and leave ends.
inline std::vector<int> rowWidths() {
    std::vector<int> widths{70, 71, 95, 128, 143, 150, 197};
    for (int width = 0; width <= 67; ++width) widths.push_back(width);
    return widths;
}

/// A byte without a pattern.
inline uint8 noise(std::size_t i) {
    std::uint64_t x = (i + 1) * 0x9E3779B97F4A7C15u;
    x ^= x >> 29;
    return static_cast<uint8>((x * 0xBF58476D1CE4E5B9u) >> 56);
}

/// Returns an image of bytes without a pattern.
inline Image noiseImage(FormatID format, Size size) {
    Image image(format, size);
    for (std::size_t i = 0; i < image.getByteSize(); ++i) image.getBytePointer()[i] = noise(i);
    return image;
}

/// An image in foreign memory of its own, with guard bytes around each row of each plane.
class GuardedImage {
public:
    /// Fills all bytes with noise. @param extra  bytes of padding after each row. @param upsideDown  whether
    /// the first row is the last in memory.
    GuardedImage(FormatID format, IVec2<int> size, int extra = 5, bool upsideDown = false) {
        const Image layout(format, size);
        Vector<ByteSpan> spans;
        Vector<int> pitches;
        std::vector<std::size_t> offsets;
        std::size_t total = 0;
        for (unsigned i = 0; i < layout.getNumberOfPlanes(); ++i) {
            const auto pitch = static_cast<std::size_t>(layout.getPlanePitch(i) + extra);
            const auto rows = static_cast<std::size_t>(layout.getPlaneSize(i).y);
            offsets.push_back(total + kGuard + (upsideDown && rows > 0 ? pitch * (rows - 1) : 0));
            total += 2 * kGuard + pitch * rows;
            pitches.push_back(
                static_cast<int>(upsideDown ? -static_cast<int>(pitch) : static_cast<int>(pitch)));
        }
        m_memory.resize(total);
        for (std::size_t i = 0; i < total; ++i) m_memory[i] = noise(i);
        for (std::size_t i = 0; i < offsets.size(); ++i)
            spans.emplace_back(m_memory.data() + offsets[i], total - offsets[i]);
        if (format == Y1V2U2) { // stores no pitches of its own accord: take those of the other order
            m_image.initializeFromExtern(Y1U2V2, size, spans, pitches, {});
        }
        m_image.initializeFromExtern(format, size, spans, pitches, {});
        m_before = m_memory;
    }

    /// The image.
    Image& operator*() { return m_image; }
    /// The image.
    Image* operator->() { return &m_image; }

    /// Returns how many bytes outside the pixels have changed.
    int changedGuards() const {
        std::vector<bool> isPixel(m_memory.size());
        for (unsigned i = 0; i < m_image.getNumberOfPlanes(); ++i) {
            const auto bits = util::getFormatSizeBits(m_image.getPlaneFormat(i));
            const auto bytes =
                static_cast<std::size_t>(bits) * static_cast<std::size_t>(m_image.getPlaneSize(i).x) / 8;
            for (int y = 0; y < m_image.getPlaneSize(i).y; ++y) {
                const auto at = static_cast<std::size_t>(m_image.getPlaneBytePointer(i, y) - m_memory.data());
                for (std::size_t x = 0; x < bytes; ++x) isPixel[at + x] = true;
            }
        }
        int changed = 0;
        for (std::size_t i = 0; i < m_memory.size(); ++i)
            changed += !isPixel[i] && m_memory[i] != m_before[i];
        return changed;
    }

private:
    static constexpr std::size_t kGuard = 37; // odd, so that nothing is aligned

    std::vector<uint8> m_memory, m_before;
    Image m_image;
};

/// Returns the rows of all planes one after the other, without padding.
inline std::vector<uint8> packedBytes(const Image& image) {
    std::vector<uint8> bytes;
    for (unsigned i = 0; i < image.getNumberOfPlanes(); ++i) {
        const auto bits = util::getFormatSizeBits(image.getPlaneFormat(i));
        const auto rowBytes = bits * image.getPlaneSize(i).x / 8;
        for (int y = 0; y < image.getPlaneSize(i).y; ++y) {
            const uint8* row = image.getPlaneBytePointer(i, y);
            if (rowBytes > 0) bytes.insert(bytes.end(), row, row + rowBytes);
        }
    }
    return bytes;
}

} // namespace qel::test
