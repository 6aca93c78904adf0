// The programs and libraries in this process's memory, read again in a crash by means that work in a signal
// handler. Only one reader at a time.
#pragma once

#include <qel/platform/crash.h>

#include <cstddef>
#include <cstdint>

namespace qel::platform {

/// Copies @p size bytes at @p address of this process and never faults.
/// @return false if any of them cannot be read.
bool readMemory(std::uint64_t address, void* target, std::size_t size);

/// Reads the list of modules from the kernel; keeps at most 256.
void readModules();

/// Returns true if readModules found code at @p address.
bool isCode(std::uint64_t address);

/// Writes one line for each module: its address range, its build id and its file.
void writeModules(CrashWriter& out);

/// Writes "file+0xoffset" for the code at @p address, where the offset counts from the start of the module,
/// or the address alone if it belongs to no module.
void writeCodeAddress(CrashWriter& out, std::uint64_t address);

} // namespace qel::platform
