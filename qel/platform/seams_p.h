// Functions with which tests replace the operating system; qel/testing/ is the public side.
#pragma once

#include <qel/platform/file_system.h>
#include <qel/platform/operation.h>
#include <qel/platform/process_run.h>

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace qel::platform {

/// A function that is called before each operation; see testing::Faults::before().
using FaultFunction = FileError (*)(Operation operation, std::size_t& size);
/// Calls @p function before each operation; null, the initial state, removes it.
void setFaultFunction(FaultFunction function);

/// Returns the error that a test forces on @p operation, if any. @param size  may be reduced, but not to 0.
FileError forcedFault(Operation operation, std::size_t& size);
/// Like the function above, for an operation without a size.
FileError forcedFault(Operation operation);

/// A replacement for fillRandom().
using RandomFunction = bool (*)(std::span<std::byte> bytes);
/// Replaces the system's random source with @p function; null restores it.
void setRandomFunction(RandomFunction function);

/// A replacement for runProcess().
using RunFunction = RunResult (*)(const std::vector<std::string>& arguments, const RunOptions& options);
/// Replaces the start of programs with @p function; null restores it.
void setRunFunction(RunFunction function);

/// Makes processorCount() return @p count; 0 restores the machine's own number.
void setProcessorCount(std::uint32_t count);

/// Keeps all registry values below @p folder; an empty name restores the folders of the machine and the user.
void setRegistryFolder(std::string_view folder);

} // namespace qel::platform
