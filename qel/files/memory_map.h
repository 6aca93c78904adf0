// MemoryMap: a file mapped into memory, in windows that the caller chooses.
#pragma once

#include <qel/foundation/base/object.h>
#include <qel/foundation/base/string.h>
#include <qel/foundation/base/types.h>
#include <qel/platform/file_system.h>

namespace qel {

/// Maps parts of an existing file into memory. The file is neither created nor extended. Changes in a window
/// are visible in all windows on the file, in all processes; the system writes them to disk at a time of its
/// choice, or flush() does.
/// || A file that another process makes shorter does no harm: whole pages after its new end read as zeros in
/// the existing windows, what is written to them is lost, and unmap() logs it. For this the first window of
/// the process installs a handler of the signal SIGBUS, which passes every other fault on to the previous
/// handler.
/// @threads one thread at a time, except map() and unmap(), which any number of threads may call.
class QEL_API MemoryMap : public Object {
    QEL_CLASS(MemoryMap, Object)

public:
    /// The way a file is mapped.
    enum Mode : int {
        ReadOnly = 0,  ///< writing to a window causes a fault
        ReadWrite = 1, ///< windows may be written to
    };

    /// Opens the file @p path. @param mode  any value other than ReadWrite means read-only.
    /// @errors a file that is missing, empty or not a plain file logs "file mapping object could not be
    /// created".
    MemoryMap(const char* path, Mode mode);
    MemoryMap(const MemoryMap&) = delete;
    MemoryMap& operator=(const MemoryMap&) = delete;

    /// Returns true if the file is open.
    bool isValid() const { return m_file.isOpen(); }
    /// Returns the size of the file in bytes when it was opened; 0 if it is not open.
    uint64 getFileSize() const { return m_fileSize; }
    /// Maps @p size bytes, starting at @p offset, which need not be aligned.
    /// @return the address of the byte at @p offset; null on failure, which is logged. A window must lie
    /// within the file.
    /// @owner the caller must unmap() it.
    uint8* map(uint64 offset, unsigned size);
    /// Unmaps a whole window. @param p  as returned by map() for @p offset; any other address has no effect.
    void unmap(uint8* p, uint64 offset, unsigned size);
    /// Returns once the @p size bytes at @p p, a part of a window, are on disk. @return true on success; a
    /// failure is logged.
    bool flush(uint8* p, unsigned size);
    /// Sets a flag for users of the map; it has no other effect.
    void invalidateAll() { m_invalidated = true; }
    /// Returns true if invalidateAll() was called.
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
