// MemoryMap: a file seen as memory, in windows that the caller chooses.
#pragma once

#include <qel/foundation/base/object.h>
#include <qel/foundation/base/string.h>
#include <qel/foundation/base/types.h>
#include <qel/platform/file_system.h>

namespace qel {

/// Maps parts of an existing file into memory. The file isn't made and doesn't grow. What is written to a
/// window is seen by all windows on the file, in all processes, and reaches the disk in the system's own time
/// or by flush().
///
/// A file that another process makes shorter does no harm: whole pages after its new end read as zeros in
/// the windows that exist, what is written to them is lost, and unmap() logs it. For that the first window of
/// the process installs a handler of the signal SIGBUS, which passes every other fault on to the handler
/// before.
/// @threads one thread at a time, but for map() and unmap(), which any number of threads may call.
class QEL_API MemoryMap : public Object {
    QEL_CLASS(MemoryMap, Object)

public:
    /// How a file is mapped.
    enum Mode : int {
        ReadOnly = 0,  ///< writing to a window is a fault
        ReadWrite = 1, ///< windows may be written
    };

    /// Opens the file @p path. @param mode  all values but ReadWrite are read only.
    /// @errors a file that is missing, empty or no file logs "file mapping object could not be created".
    MemoryMap(const char* path, Mode mode);
    MemoryMap(const MemoryMap&) = delete;
    MemoryMap& operator=(const MemoryMap&) = delete;

    /// Whether the file is open.
    bool isValid() const { return m_file.isOpen(); }
    /// Bytes of the file when it was opened; 0 if it isn't open.
    uint64 getFileSize() const { return m_fileSize; }
    /// Shows @p size bytes from @p offset on, which need not be a multiple of anything.
    /// @return the byte at @p offset; null if that fails, which is logged. A window must lie within the file.
    /// @owner the caller, which gives it back by unmap().
    uint8* map(uint64 offset, unsigned size);
    /// Takes a window away, whole. @param p  what map() gave for @p offset; what is no window does nothing.
    void unmap(uint8* p, uint64 offset, unsigned size);
    /// Returns when the @p size bytes at @p p, a part of a window, are on the disk. @return whether they are;
    /// a failure is logged.
    bool flush(uint8* p, unsigned size);
    /// Sets a mark for users of the map, which changes nothing here.
    void invalidateAll() { m_invalidated = true; }
    /// Whether invalidateAll() was called.
    bool isInvalidated() const { return m_invalidated; }

private:
    bool isInside(uint64 offset, unsigned size) const;

    platform::FileHandle m_file;
    String m_path;
    uint64 m_fileSize = 0;
    Mode m_mode;
    bool m_invalidated = false;
    uint32 m_alignmentMask;
};

} // namespace qel
