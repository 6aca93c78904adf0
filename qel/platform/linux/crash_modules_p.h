// The programs and libraries in this process's memory, read afresh at a crash by means that work in a signal
// handler. One reader at a time.
#pragma once

#include <qel/platform/crash.h>

#include <cstddef>
#include <cstdint>

namespace qel::platform {

/// Copies @p size bytes at @p address of this process. @return false where any of them cannot be read; never
/// faults.
bool readMemory(std::uint64_t address, void* target, std::size_t size);

/// Reads the list of modules from the kernel. At most 256 are kept.
void readModules();

/// Whether readModules saw code at @p address.
bool isCode(std::uint64_t address);

/// Writes one line for each module: where it lies, its build id and its file.
void writeModules(CrashWriter& out);

/// Writes "file+0xoffset" for the code at @p address, the offset counted from the start of the module; the
/// address alone where there is no module.
void writeCodeAddress(CrashWriter& out, std::uint64_t address);

} // namespace qel::platform
