// FileAccess: for whom a job uses files, and where.
#pragma once

#include <qel/foundation/base/containers.h>
#include <qel/foundation/base/string.h>
#include <qel/foundation/base/types.h>
#include <qel/platform/local_socket.h>
#include <qel/platform/shared_folder.h>
#include <qel/store/core/item.h>

#include <optional>

namespace qeljobs {

/// What somebody can do with a file or a folder, as bits of a mode.
enum class FileUse : qel::uint32 {
    Read = 4,   ///< read a file
    Write = 2,  ///< write a file; create and remove names in a folder
    Search = 1, ///< use names in a folder
};

/// The user for whom a job uses files, and the folders in which he may have jobs work. The server's own user
/// may have them work everywhere. It is stored with the job, without the folders: those that are granted when
/// the job is handed to a worker count.
struct FileAccess {
    qel::platform::PeerIdentity user; ///< who asked for the job
    bool overwrite = false;           ///< he wants existing outputs to be replaced
    qel::Vector<qel::String> folders; ///< absolute paths of folders that are granted to him

    /// Whether that is this process's own user.
    bool isOwnUser() const { return user.user == qel::platform::userId(); }
    /// Whether the user may put something of this ownership to the use @p use. An access control list counts
    /// for the owner only, since the mode does not say what it grants to others.
    bool allows(const qel::platform::FileOwnership& ownership, FileUse use) const;

    /// The form in which packets and the table of jobs hold it.
    qel::Item toItem() const;
    /// @return nothing if @p item does not have this form, as in jobs of which nobody knows who asked for
    /// them.
    static std::optional<FileAccess> fromItem(const qel::Item& item);
};

} // namespace qeljobs
