// Test seams: functions and folders in place of the machine's own.
#pragma once

#include <qel/platform/api.h>
#include <qel/platform/process_run.h>

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace qel::seams {

/// Takes the place of platform::sleepMilliseconds().
using SleepFunction = void (*)(std::uint32_t milliseconds);
/// Puts @p function in place of the machine's wait, so that a test does not wait; null restores it.
/// @threads any thread; sleeps in progress are not cut short.
QEL_API void replaceSleep(SleepFunction function);

/// Takes the place of platform::fillRandom().
using RandomFunction = bool (*)(std::span<std::byte> bytes);
/// Puts @p function in place of the machine's random source, so that a test can foresee it or make it fail;
/// null restores it.
/// @threads any thread.
QEL_API void replaceRandom(RandomFunction function);

/// Takes the place of platform::runProcess().
using RunFunction = platform::RunResult (*)(const std::vector<std::string>& arguments,
                                            const platform::RunOptions& options);
/// Puts @p function in place of the machine's start of programs, so that a test sees what would run; null
/// restores it.
/// @threads any thread.
QEL_API void replaceRunProcess(RunFunction function);

/// Keeps all values of the registry below @p folder, in place of the folders of the machine and the user; an
/// empty path restores these.
/// @threads any thread.
QEL_API void setRegistryFolder(std::string_view folder);

} // namespace qel::seams
