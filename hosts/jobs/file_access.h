// FileAccess: the user for whom a job uses files, and the folders that are granted to that user.
#pragma once

#include <qel/foundation/base/containers.h>
#include <qel/foundation/base/string.h>
#include <qel/foundation/base/types.h>
#include <qel/platform/local_socket.h>
#include <qel/platform/shared_folder.h>
#include <qel/store/core/item.h>

#include <optional>

namespace qeljobs {

/// Ways to use a file or a folder, as bits of a mode.
enum class FileUse : qel::uint32 {
    Read = 4,   ///< read a file
    Write = 2,  ///< write a file; create and remove names in a folder
    Search = 1, ///< look up names in a folder
};

/// The user for whom a job uses files, and the folders in which that user's jobs may work. Jobs of the
/// server's own user may work everywhere. It is stored with the job without the folders, because the folders
/// that are granted when the job is assigned to a worker count.
struct FileAccess {
    qel::platform::PeerIdentity user; ///< the user who submitted the job
    bool overwrite = false;           ///< true to replace existing outputs
    qel::Vector<qel::String> folders; ///< absolute paths of the granted folders

    /// Returns true if the user is this process's own.
    bool isOwnUser() const { return user.user == qel::platform::userId(); }
    /// Returns true if the user may use something of this ownership in the way @p use. Something with an
    /// access control list is open to its owner and root only, because the mode does not say what the list
    /// grants.
    bool allows(const qel::platform::FileOwnership& ownership, FileUse use) const;

    /// Returns the form that packets and the table of jobs contain.
    qel::Item toItem() const;
    /// Reads the form that toItem() returns.
    /// @return nothing if @p item does not have this form, as in old jobs that do not name a user.
    static std::optional<FileAccess> fromItem(const qel::Item& item);
};

} // namespace qeljobs
