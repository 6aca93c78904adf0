// Where tests take the place of the operating system; qel/testing/ is the public side.
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

/// Is called before each operation; see testing::Faults::before().
using FaultFunction = FileError (*)(Operation operation, std::size_t& size);
/// Puts @p function before each operation; null, the state at start, removes it.
void setFaultFunction(FaultFunction function);

/// The error that a test forces on @p operation, if any. @param size  may be lowered, but not to 0.
FileError forcedFault(Operation operation, std::size_t& size);
/// As above, for an operation without a size.
FileError forcedFault(Operation operation);

/// Takes the place of sleepMilliseconds().
using SleepFunction = void (*)(std::uint32_t milliseconds);
/// Puts @p function in place of the machine's wait; null restores it.
void setSleepFunction(SleepFunction function);

/// Takes the place of fillRandom().
using RandomFunction = bool (*)(std::span<std::byte> bytes);
/// Puts @p function in place of the machine's source; null restores it.
void setRandomFunction(RandomFunction function);

/// Takes the place of runProcess().
using RunFunction = RunResult (*)(const std::vector<std::string>& arguments, const RunOptions& options);
/// Puts @p function in place of the machine's start of programs; null restores it.
void setRunFunction(RunFunction function);

/// Keeps all registry values below @p folder; empty restores the folders of the machine and the user.
void setRegistryFolder(std::string_view folder);

} // namespace qel::platform
