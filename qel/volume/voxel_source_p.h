// Where the voxels of a volume are read from.
#pragma once

#include <qel/foundation/base/byte_span.h>
#include <qel/foundation/base/mutex.h>
#include <qel/foundation/base/string.h>
#include <qel/foundation/base/types.h>
#include <qel/platform/file_system.h>

#include <atomic>
#include <functional>

namespace qel::internal {

/// The bytes of all voxels, which may be read in any order. @threads any number.
class VoxelSource {
public:
    VoxelSource() = default;
    VoxelSource(const VoxelSource&) = delete;
    VoxelSource& operator=(const VoxelSource&) = delete;
    virtual ~VoxelSource();
    /// Returns @p size bytes from @p offset on, which may have been copied to @p room. Their values are
    /// unspecified once hasFailed() returns true.
    virtual const uint8* read(uint64 offset, size_t size, uint8* room) = 0;
    /// Returns true if bytes could not be read and the load must fail.
    virtual bool hasFailed() const { return false; }
};

/// Bytes in memory.
class MemoryVoxelSource final : public VoxelSource {
public:
    /// Reads @p bytes. @owner they must outlive this object.
    explicit MemoryVoxelSource(ConstByteSpan bytes) : m_bytes(bytes) {}
    const uint8* read(uint64 offset, size_t size, uint8* room) override;

private:
    ConstByteSpan m_bytes;
};

/// Bytes that a function copies.
class FunctionVoxelSource final : public VoxelSource {
public:
    /// Copies bytes from an offset to an address. @return false on failure.
    using Read = std::function<bool(uint64 offset, void* out, size_t size)>;

    /// @owner @p read must outlive this object.
    explicit FunctionVoxelSource(const Read& read) : m_read(read) {}
    const uint8* read(uint64 offset, size_t size, uint8* room) override;
    bool hasFailed() const override { return m_hasFailed; }

private:
    const Read& m_read;
    std::atomic<bool> m_hasFailed{false};
};

/// Bytes of a file, followed by zeros without end.
class FileVoxelSource final : public VoxelSource {
public:
    /// Reads @p size bytes of @p file from @p begin on. @owner the file must outlive this object.
    FileVoxelSource(const platform::FileHandle& file, uint64 begin, uint64 size)
        : m_file(file), m_begin(begin), m_size(size) {}
    /// Bytes that cannot be read are 0 and counted as a problem.
    const uint8* read(uint64 offset, size_t size, uint8* room) override;
    /// Returns why bytes of the file could not be read; empty if all were.
    String problem() const;

private:
    size_t readFile(uint64 offset, size_t size, uint8* room);
    void setProblem(const platform::FileError& error);

    const platform::FileHandle& m_file;
    const uint64 m_begin;
    const uint64 m_size;
    mutable Mutex m_mutex;
    String m_problem QEL_GUARDED_BY(m_mutex);
};

} // namespace qel::internal
