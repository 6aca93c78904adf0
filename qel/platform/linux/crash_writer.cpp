#include <qel/platform/crash.h>

#include <qel/platform/seams_p.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>

#include <unistd.h>

namespace qel::platform {

CrashWriter& CrashWriter::text(std::string_view text) {
    while (!text.empty()) {
        if (m_size == kCapacity) flush();
        const std::size_t count = std::min(text.size(), kCapacity - m_size);
        std::memcpy(m_buffer + m_size, text.data(), count);
        m_size += count;
        text.remove_prefix(count);
    }
    return *this;
}

CrashWriter& CrashWriter::line(std::string_view text) {
    for (char c : text) {
        if (static_cast<unsigned char>(c) < ' ' || c == '\x7F') c = ' ';
        this->text({&c, 1});
    }
    return *this;
}

CrashWriter& CrashWriter::cstr(const char* text) {
    return text ? this->text(text) : *this;
}

CrashWriter& CrashWriter::decimal(std::int64_t value) {
    std::array<char, 20> digits;
    std::size_t at = digits.size();
    std::uint64_t rest =
        value < 0 ? 0 - static_cast<std::uint64_t>(value) : static_cast<std::uint64_t>(value);
    do {
        digits[--at] = static_cast<char>('0' + rest % 10);
        rest /= 10;
    } while (rest != 0);
    if (value < 0) text("-");
    return text({digits.data() + at, digits.size() - at});
}

CrashWriter& CrashWriter::hex(std::uint64_t value) {
    std::array<char, 16> digits;
    std::size_t at = digits.size();
    do {
        digits[--at] = "0123456789abcdef"[value & 15];
        value >>= 4;
    } while (value != 0);
    return text("0x").text({digits.data() + at, digits.size() - at});
}

void CrashWriter::flush() {
    for (std::size_t at = 0; at < m_size;) {
        std::size_t size = m_size - at;
        if (forcedFault(Operation::Write, size)) break;
        const ssize_t count = write(m_descriptor, m_buffer + at, size);
        if (count < 0 && errno == EINTR) continue;
        if (count <= 0) break;
        at += static_cast<std::size_t>(count);
    }
    m_size = 0;
}

} // namespace qel::platform
