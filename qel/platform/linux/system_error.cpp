#include <qel/platform/system_error.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <limits>

namespace qel::platform {

std::int64_t lastErrorCode() {
    return errno;
}

std::string errorText(std::int64_t code) {
    if (code < std::numeric_limits<int>::min() || code > std::numeric_limits<int>::max()) {
        return "Unknown error " + std::to_string(code);
    }
    std::array<char, 256> buffer{};
    return strerror_r(static_cast<int>(code), buffer.data(), buffer.size()); // the form that gives the text
}

} // namespace qel::platform
