// Facts about this build that the compiler knows.
#pragma once

#include <cstddef>

namespace qel::platform {

#if defined(_WIN32)
inline constexpr const char* kOperatingSystem = "windows"; ///< the operating system that the build runs on
#elif defined(__linux__)
inline constexpr const char* kOperatingSystem = "linux"; ///< the operating system that the build runs on
#else
inline constexpr const char* kOperatingSystem = "unix"; ///< the operating system that the build runs on
#endif

#if defined(__x86_64__) || defined(__i386__) || defined(_M_X64)
inline constexpr const char* kProcessorFamily = "intel"; ///< the family of processors that the build runs on
#else
inline constexpr const char* kProcessorFamily = "arm";   ///< the family of processors that the build runs on
#endif

#if defined(__clang__)
inline constexpr const char* kCompiler = "clang"; ///< the compiler of this build
#elif defined(_MSC_VER)
inline constexpr const char* kCompiler = "vc";           ///< the compiler of this build
#else
inline constexpr const char* kCompiler = "gcc";         ///< the compiler of this build
#endif

inline constexpr std::size_t kPointerBits = sizeof(void*) * 8; ///< the width of an address in bits

} // namespace qel::platform
