// Tar files, read in place.
#pragma once

#include <qel/files/archive.h>
#include <qel/foundation/base/containers.h>
#include <qel/foundation/base/string.h>
#include <qel/foundation/base/types.h>
#include <qel/platform/file_system.h>

#include <unordered_map>

namespace qel {

/// Reads tar files in the ustar format of IEEE Std 1003.1. Only entries that are plain files count, under the
/// name that stands in the archive; of entries with the same name the last one counts. Sizes may stand in the
/// octal or the base-256 form. What an entry claims is checked against the file when it is opened, so that no
/// entry reaches past the end of the file.
class QEL_API TarArchive : public Archive {
    QEL_CLASS(TarArchive, Archive)

public:
    TarArchive();
    ~TarArchive() override;

    /// @errors what is damaged is logged and ends the reading; the whole entries before it stay.
    bool open(SmartCStr path) override;
    bool hasFile(SmartCStr name) override;
    bool readFile(SmartCStr name, Buffer& buffer) override;
    /// The names of all files, in no order.
    Vector<String> getFileNames() const;

private:
    /// Where an entry's bytes lie in the file.
    struct Extent {
        uint64 offset;
        uint64 size;
    };

    void readHeaders(const String& path, uint64 fileSize);

    platform::FileHandle m_file;
    std::unordered_map<String, Extent> m_entries;
};

} // namespace qel
