#include <qel/files/file.h>

#include <qel/files/whole_io_p.h>
#include <qel/foundation/base/buffer.h>
#include <qel/foundation/log/message_stream.h>
#include <qel/platform/machine.h>
#include <qel/system/core/clock.h>

namespace qel {

namespace {

// Reading loads the content into the system's cache as accessing a mapping would, but is safe if the file
// shrinks meanwhile.
bool readThrough(const internal::FileHandle& file) {
    Buffer block(1 << 20);
    for (uint64 offset = 0;; offset += block.getSize()) {
        size_t done = 0;
        if (internal::readFully(file, offset, block.getBytePointer(), block.getSize(), done)) return false;
        if (done < block.getSize()) return true;
    }
}

} // namespace

void File::prefetchFileIfPossible(SmartCStr path) {
    constexpr uint64 kKeptFree = 0x200000000;
    internal::FileHandle file;
    platform::FileStatus status;
    if (internal::openForReading(file, path) || platform::readStatus(status, file)) return;
    const uint64 memory = platform::physicalMemorySize();
    logging::info() << "prefetching file '" << path.c_str() << "', TotalPhysicalMemory=" << memory
                    << ", FileSize=" << status.size;
    if (memory <= kKeptFree || status.size >= memory - kKeptFree) {
        logging::info() << "no prefetch performed, not enough physical memory";
        return;
    }
    const int64 start = Clock::current().steadyNanoseconds();
    if (!readThrough(file)) return;
    const int64 duration = Clock::current().steadyNanoseconds() - start;
    logging::info() << "prefetch performed in " << static_cast<double>(duration) * 1e-9 << "s";
}

} // namespace qel
