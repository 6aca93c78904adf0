#include <qel/platform/system_error.h>

#include <cerrno>
#include <cstring>
#include <limits>

namespace qel::platform {

std::int64_t lastErrorCode() {
    return errno;
}

std::string errorText(std::int64_t code) {
    const bool isNumber = code >= 0 && code <= std::numeric_limits<int>::max();
    const char* const text = isNumber ? strerrordesc_np(static_cast<int>(code)) : nullptr; // never translated
    return text ? text : "Unknown error " + std::to_string(code);
}

} // namespace qel::platform
