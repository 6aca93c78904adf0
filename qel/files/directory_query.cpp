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

constexpr const char* kRead = "read";

class SizeVisitor : public internal::TreeVisitor {
public:
    explicit SizeVisitor(SmartCStr root) : TreeVisitor(root, kRead) {}

    bool visitEntry(const FolderCursor& at, const DirectoryEntry& entry) override {
        if (entry.kind != FileKind::File) return true;
        platform::FileStatus status;
        if (const FileError error = readStatus(status, entry.name.c_str(), Links::Keep, at.folder()))
            failed(at, entry.name, error);
        else
            size += status.size;
        return true;
    }

    uint64 size = 0;
};

class FindVisitor : public internal::TreeVisitor {
public:
    FindVisitor(SmartCStr root, SmartCStr name) : TreeVisitor(root, kRead), m_name(name) {}

    bool visitEntry(const FolderCursor& at, const DirectoryEntry& entry) override {
        if (entry.name != m_name) return true;
        found = pathOf(at, entry.name);
        return false;
    }

    String found;

private:
    const String m_name;
};

// Feeds the tree to the hash as Directory::getDirectoryHash() describes, up to the first entry that cannot be
// read.
class HashVisitor : public internal::TreeVisitor {
public:
    explicit HashVisitor(SmartCStr root) : TreeVisitor(root, kRead) {}

    bool visitEntry(const FolderCursor& at, const DirectoryEntry& entry) override {
        if (entry.kind == FileKind::File) return addName('f', entry.name) && addContent(at, entry.name);
        if (entry.kind == FileKind::SymLink) return addName('l', entry.name) && addTarget(at, entry.name);
        return addName('o', entry.name);
    }

    bool visitFolder(const FolderCursor&, const String& name) override { return addName('d', name); }
    bool leftFolder(const FolderCursor&, const String&) override { return addName('u', String()); }
    // An entry that was removed meanwhile is a failure too: its name may already be in the hash.
    void failed(const FolderCursor& at, const String& name, const FileError& error) override {
        note(at, name, error);
    }

    uint32 result() const { return ~m_crc; }

private:
    void add(const void* bytes, size_t size) {
        m_crc = util::crc32c(m_crc, static_cast<const uint8*>(bytes), static_cast<unsigned>(size));
    }
    bool addName(char letter, const String& name) {
        add(&letter, 1);
        add(name.c_str(), name.size() + 1);
        return true;
    }
    bool stop(const FolderCursor& at, const String& name, const FileError& error) {
        note(at, name, error);
        return false;
    }
    bool addTarget(const FolderCursor& at, const String& name);
    bool addContent(const FolderCursor& at, const String& name);

    uint32 m_crc = 0xFFFFFFFF;
    Buffer m_block{64 * 1024};
};

bool HashVisitor::addTarget(const FolderCursor& at, const String& name) {
    std::string target;
    if (const FileError error = platform::readSymLink(target, name.c_str(), at.folder()))
        return stop(at, name, error);
    add(target.c_str(), target.size() + 1);
    return true;
}

// The size follows the content, so it is the size of what was actually read.
bool HashVisitor::addContent(const FolderCursor& at, const String& name) {
    FileHandle file;
    if (const FileError error = internal::openForReading(file, name.c_str(), Links::Keep, at.folder()))
        return stop(at, name, error);
    uint64 offset = 0;
    for (size_t done = m_block.getSize(); done == m_block.getSize(); offset += done) {
        if (const FileError error =
                internal::readFully(file, offset, m_block.getBytePointer(), m_block.getSize(), done))
            return stop(at, name, error);
        add(m_block.getBytePointer(), done);
    }
    uint8 size[8];
    for (int i = 0; i < 8; i++) size[i] = static_cast<uint8>(offset >> (8 * i));
    add(size, sizeof size);
    return true;
}

} // namespace

bool Directory::isDirectoryEmpty(SmartCStr path) {
    Directory directory;
    String name;
    if (directory.open(path)) return !directory.read(name) && !directory.hasFailed();
    if (directory.getError() == std::errc::no_such_file_or_directory) return true;
    internal::warnNotDone(path, kRead, directory.getError());
    return false;
}

uint64 Directory::getSize(SmartCStr path) {
    uint64 size = 0;
    getSize(path, size);
    return size;
}

bool Directory::getSize(SmartCStr path, uint64& size) {
    SizeVisitor visitor(path);
    const bool isComplete = internal::walkTree(path, visitor);
    size = visitor.size;
    return isComplete;
}

uint32 Directory::getDirectoryHash(SmartCStr path) {
    HashVisitor visitor(path);
    return internal::walkTree(path, visitor, internal::WalkOrder::ByName) ? visitor.result() : 0;
}

bool Directory::findFile(SmartCStr path, SmartCStr name, String& result) {
    FindVisitor visitor(path, name);
    internal::walkTree(path, visitor);
    if (!visitor.found.empty()) result = visitor.found;
    return !visitor.found.empty();
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
