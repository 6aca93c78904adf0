// What the compiler knows about this build.
#pragma once

#include <cstddef>

namespace qel::platform {

#if defined(_WIN32)
inline constexpr const char* kOperatingSystem = "windows"; ///< the system that the build runs on
#elif defined(__linux__)
inline constexpr const char* kOperatingSystem = "linux"; ///< the system that the build runs on
#else
inline constexpr const char* kOperatingSystem = "unix"; ///< the system that the build runs on
#endif

#if defined(__x86_64__) || defined(__i386__) || defined(_M_X64)
inline constexpr const char* kProcessorFamily = "intel"; ///< the family of processors that the build runs on
#else
inline constexpr const char* kProcessorFamily = "arm";   ///< the family of processors that the build runs on
#endif

#if defined(__clang__)
inline constexpr const char* kCompiler = "clang"; ///< what compiled the build
#elif defined(_MSC_VER)
inline constexpr const char* kCompiler = "vc";           ///< what compiled the build
#else
inline constexpr const char* kCompiler = "gcc";         ///< what compiled the build
#endif

inline constexpr std::size_t kPointerBits = sizeof(void*) * 8; ///< width of an address

} // namespace qel::platform
