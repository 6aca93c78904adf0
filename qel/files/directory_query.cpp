#include <qel/files/directory.h>

#include <qel/files/tree_walk_p.h>
#include <qel/foundation/base/buffer.h>
#include <qel/foundation/base/crc32c.h>
#include <qel/system/core/system.h>
#include <qel/system/tasks/perfmon.h>

namespace qel {

using internal::DirectoryEntry;
using internal::FileError;
using internal::FileHandle;
using internal::FolderCursor;
using platform::FileKind;
using platform::Links;

namespace {

class SizeVisitor : public internal::TreeVisitor {
public:
    bool visitEntry(const FolderCursor& at, const DirectoryEntry& entry) override {
        platform::FileStatus status;
        if (entry.kind == FileKind::File && !readStatus(status, entry.name.c_str(), Links::Keep, at.folder()))
            size += status.size;
        return true;
    }

    uint64 size = 0;
};

class FindVisitor : public internal::TreeVisitor {
public:
    explicit FindVisitor(SmartCStr name) : m_name(name) {}

    bool visitEntry(const FolderCursor& at, const DirectoryEntry& entry) override {
        if (entry.name != m_name) return true;
        found = at.path() + "/" + entry.name;
        return false;
    }

    String found; // below the start, with a "/" before it

private:
    const String m_name;
};

// Feeds the tree to the hash as Directory::getDirectoryHash() tells; gives up at the first thing unread.
class HashVisitor : public internal::TreeVisitor {
public:
    bool visitEntry(const FolderCursor& at, const DirectoryEntry& entry) override {
        if (entry.kind == FileKind::File) return addName('f', entry.name) && addContent(at, entry.name);
        if (entry.kind == FileKind::SymLink) return addName('l', entry.name) && addTarget(at, entry.name);
        return addName('o', entry.name);
    }

    bool visitFolder(const FolderCursor&, const String& name) override { return addName('d', name); }
    bool leftFolder(const FolderCursor&, const String&) override { return addName('u', String()); }
    void failed(const FolderCursor&, const String&, const FileError&) override { m_failed = true; }

    /// @param complete  whether the walk came to its end.
    uint32 result(bool complete) const { return complete && !m_failed ? ~m_crc : 0; }

private:
    void add(const void* bytes, size_t size) {
        m_crc = util::crc32c(m_crc, static_cast<const uint8*>(bytes), static_cast<unsigned>(size));
    }
    bool addName(char letter, const String& name) {
        add(&letter, 1);
        add(name.c_str(), name.size() + 1);
        return true;
    }
    bool addTarget(const FolderCursor& at, const String& name);
    bool addContent(const FolderCursor& at, const String& name);

    uint32 m_crc = 0xFFFFFFFF;
    bool m_failed = false;
    Buffer m_block{64 * 1024};
};

bool HashVisitor::addTarget(const FolderCursor& at, const String& name) {
    std::string target;
    if (platform::readSymLink(target, name.c_str(), at.folder())) return false;
    add(target.c_str(), target.size() + 1);
    return true;
}

// The size stands behind the content, so that it is the size of what was read.
bool HashVisitor::addContent(const FolderCursor& at, const String& name) {
    FileHandle file;
    if (internal::openForReading(file, name.c_str(), Links::Keep, at.folder())) return false;
    uint64 offset = 0;
    for (size_t done = m_block.getSize(); done == m_block.getSize(); offset += done) {
        if (internal::readFully(file, offset, m_block.getBytePointer(), m_block.getSize(), done))
            return false;
        add(m_block.getBytePointer(), done);
    }
    uint8 size[8];
    for (int i = 0; i < 8; i++) size[i] = static_cast<uint8>(offset >> (8 * i));
    add(size, sizeof size);
    return true;
}

} // namespace

bool Directory::isDirectoryEmpty(SmartCStr path) {
    String name;
    return !Directory(path).read(name);
}

uint64 Directory::getSize(SmartCStr path) {
    FolderCursor cursor;
    SizeVisitor visitor;
    if (cursor.open(path, Links::Follow)) return 0;
    internal::walkTree(cursor, visitor);
    return visitor.size;
}

uint32 Directory::getDirectoryHash(SmartCStr path) {
    FolderCursor cursor;
    HashVisitor visitor;
    if (cursor.open(path, Links::Follow)) return 0;
    return visitor.result(internal::walkTree(cursor, visitor, internal::WalkOrder::ByName));
}

bool Directory::findFile(SmartCStr path, SmartCStr name, String& result) {
    FolderCursor cursor;
    FindVisitor visitor(name);
    if (cursor.open(path, Links::Follow)) return false;
    internal::walkTree(cursor, visitor);
    if (visitor.found.empty()) return false;
    String start = path;
    File::pathStripEndingSeparator(start);
    result = start == "/" ? visitor.found : start + visitor.found;
    return true;
}

bool Directory::getFreeDiskSpace(SmartCStr path, uint64& free) {
    uint64 total = 0;
    return getFreeDiskSpace(path, free, total);
}

bool Directory::getFreeDiskSpace(SmartCStr path, uint64& free, uint64& total) {
    constexpr const char* kSection = "getFreeDiskSpaceAndTotal";
    PerfMon* perfMon = system() ? system()->getPerfMon() : nullptr;
    if (perfMon) perfMon->begin(kSection);
    const bool worked = !platform::readDiskSpace(free, total, path);
    if (perfMon) perfMon->end(kSection);
    return worked;
}

} // namespace qel
