// What the machine has and how busy it is.
#pragma once

#include <qel/platform/api.h>

#include <cstdint>

namespace qel::platform {

/// Bytes of one memory page; 0 if the system does not say.
/// @threads any thread.
QEL_API std::uint32_t pageSize();

/// How many threads run at once on this machine; at least 1.
/// @threads any thread.
QEL_API std::uint32_t processorCount();

/// Bytes of memory that the machine has; 0 if the system does not say.
/// @threads any thread.
QEL_API std::uint64_t physicalMemorySize();

/// Bytes of memory that can be had without pushing others out to disk; 0 if the system does not say.
/// @threads any thread.
QEL_API std::uint64_t freeMemorySize();

/// How long all processors together have spent since the machine's start, in 100 ns units.
struct CpuTimes {
    std::int64_t idle = 0;   ///< doing nothing, or waiting for a disk
    std::int64_t kernel = 0; ///< in the kernel, idle included
    std::int64_t user = 0;   ///< in programs
};

/// Reads the processors' times. The three figures come from one reading.
/// @return false, with @p times unchanged, if the system does not say.
/// @threads any thread.
QEL_API bool readCpuTimes(CpuTimes& times);

/// Memory of this process in bytes.
struct ProcessMemory {
    std::uint64_t workingSet = 0;   ///< resident in memory
    std::uint64_t privateBytes = 0; ///< of these, and of what is swapped out, what no other process shares
};

/// Reads this process's memory figures.
/// @return false, with @p memory unchanged, if the system does not say.
/// @threads any thread.
QEL_API bool readProcessMemory(ProcessMemory& memory);

} // namespace qel::platform
