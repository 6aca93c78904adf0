// The kinds of calls to the operating system.
#pragma once

#include <qel/platform/api.h>

namespace qel::platform {

/// A kind of call to the operating system. Tests can make each of them fail; see <qel/testing/faults.h>.
enum class Operation {
    Open,       ///< opens files, folders and process handles; duplicates descriptors
    Read,       ///< reads from files, pipes and terminals
    Write,      ///< writes to files, pipes and terminals
    Sync,       ///< syncs files, folders and mapped windows
    Close,      ///< closes any handle
    Rename,     ///< renames files and folders
    Remove,     ///< removes files, links and empty folders
    SetSize,    ///< truncates, extends or reserves
    SetMode,    ///< sets permission bits
    SetOwner,   ///< sets user and group
    SetTime,    ///< sets the time of the last change
    ReadStatus, ///< reads the status of files, access rights and disks
    ReadFolder, ///< reads a block of the names in a folder
    MakeFolder, ///< creates a folder
    MakeLink,   ///< creates a link
    ReadLink,   ///< reads a symbolic link, or resolves a path
    Map,        ///< maps a file into memory
    Lock,       ///< takes or releases the lock of a file
    MakePipe,   ///< creates a pipe
    Spawn,      ///< starts a program
    Wait,       ///< waits until handles are ready or a child ends
    MakeSocket, ///< creates a socket or a pair of them
    Bind,       ///< binds a socket to a name
    Listen,     ///< lets a socket accept connections
    Accept,     ///< accepts a connection
    Connect,    ///< connects to a name
    Send,       ///< sends to a socket
    Receive,    ///< receives from a socket
    ReadPeer,   ///< queries the user at the other end of a socket
    ReadAccess, ///< queries the access control list of a file
    ReadRandom, ///< reads random bytes
    StartThread ///< starts a thread
};

/// The number of kinds.
inline constexpr int kOperationCount = static_cast<int>(Operation::StartThread) + 1;

/// Returns the name of @p operation, such as "ReadFolder".
/// @threads any thread.
QEL_API const char* operationName(Operation operation);

} // namespace qel::platform
