// The machine's resources and their current use.
#pragma once

#include <qel/platform/api.h>

#include <cstdint>

namespace qel::platform {

/// Returns the size of a memory page in bytes; 0 if the system does not report it.
/// @threads any thread.
QEL_API std::uint32_t pageSize();

/// Returns the number of threads that can run at the same time on this machine; at least 1.
/// @threads any thread.
QEL_API std::uint32_t processorCount();

/// Returns the machine's memory in bytes; 0 if the system does not report it.
/// @threads any thread.
QEL_API std::uint64_t physicalMemorySize();

/// Returns the memory in bytes that is available without swapping; 0 if the system does not report it.
/// @threads any thread.
QEL_API std::uint64_t freeMemorySize();

/// The total time of all processors since the machine was started, in units of 100 ns.
struct CpuTimes {
    std::int64_t idle = 0;   ///< idle, or waiting for a disk
    std::int64_t kernel = 0; ///< in the kernel, idle included
    std::int64_t user = 0;   ///< in programs
};

/// Reads the processors' times. The three values come from one reading.
/// @return false, with @p times unchanged, if the system does not report them.
/// @threads any thread.
QEL_API bool readCpuTimes(CpuTimes& times);

/// The memory of this process in bytes.
struct ProcessMemory {
    std::uint64_t workingSet = 0;   ///< resident memory
    std::uint64_t privateBytes = 0; ///< resident and swapped-out memory that no other process shares
};

/// Reads the memory use of this process.
/// @return false, with @p memory unchanged, if the system does not report it.
/// @threads any thread.
QEL_API bool readProcessMemory(ProcessMemory& memory);

} // namespace qel::platform
