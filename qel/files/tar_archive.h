// Reads tar files without unpacking them.
#pragma once

#include <qel/files/archive.h>
#include <qel/foundation/base/containers.h>
#include <qel/foundation/base/string.h>
#include <qel/foundation/base/types.h>
#include <qel/platform/file_system.h>

#include <unordered_map>

namespace qel {

/// Reads tar files in the ustar format of IEEE Std 1003.1. Only plain files are listed, under their names in
/// the archive; of several entries with the same name the last one is used. Sizes may be in the octal or the
/// base-256 form. Each entry's offset and size are checked against the file when it is opened, so no entry
/// extends past the end of the file.
class QEL_API TarArchive : public Archive {
    QEL_CLASS(TarArchive, Archive)

public:
    TarArchive();
    ~TarArchive() override;

    /// @errors damage is logged and ends the reading; the complete entries before it are kept.
    bool open(SmartCStr path) override;
    bool hasFile(SmartCStr name) override;
    bool readFile(SmartCStr name, Buffer& buffer) override;
    /// Returns the names of all files in no particular order.
    Vector<String> getFileNames() const;

private:
    /// The position of an entry's bytes in the file.
    struct Extent {
        uint64 offset;
        uint64 size;
    };

    void readHeaders(const String& path, uint64 fileSize);

    platform::FileHandle m_file;
    std::unordered_map<String, Extent> m_entries;
};

} // namespace qel
