// Numbers drawn from the input of a target.
#pragma once

#include <cstddef>
#include <cstdint>

/// Returns numbers from bytes, one byte each, and zeros after their end.
class DrawnBytes {
public:
    DrawnBytes(const std::uint8_t* data, std::size_t size) : m_data(data), m_size(size) {}

    /// Returns true if all bytes are used up.
    bool isAtEnd() const { return m_at >= m_size; }
    /// Returns a number below @p limit, which is at most 256.
    unsigned draw(unsigned limit) { return isAtEnd() ? 0 : m_data[m_at++] % limit; }
    /// Returns a number from two bytes.
    std::size_t drawWide() {
        const unsigned high = draw(256);
        return high << 8 | draw(256);
    }

private:
    const std::uint8_t* m_data;
    std::size_t m_size;
    std::size_t m_at = 0;
};
