// Test seams: functions and folders that replace the machine's own.
#pragma once

#include <qel/platform/api.h>
#include <qel/platform/process_run.h>

#include <cstddef>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace qel::seams {

/// A replacement for platform::fillRandom().
using RandomFunction = bool (*)(std::span<std::byte> bytes);
/// Replaces the machine's random source with @p function, so that a test can predict it or make it fail; null
/// restores it.
/// @threads any thread.
QEL_API void replaceRandom(RandomFunction function);

/// A replacement for platform::runProcess().
using RunFunction = platform::RunResult (*)(const std::vector<std::string>& arguments,
                                            const platform::RunOptions& options);
/// Replaces the start of programs with @p function, so that a test can see what would run; null restores it.
/// @threads any thread.
QEL_API void replaceRunProcess(RunFunction function);

/// Makes the next System assume @p count processors; 0 restores the machine's own number.
/// @threads any thread.
QEL_API void setProcessorCount(unsigned count);

/// Keeps all values of the registry below @p folder, instead of in the folders of the machine and the user;
/// an empty path restores those.
/// @threads any thread.
QEL_API void setRegistryFolder(std::string_view folder);

} // namespace qel::seams
