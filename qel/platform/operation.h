// The kinds of calls to the operating system.
#pragma once

#include <qel/platform/api.h>

namespace qel::platform {

/// A kind of call to the operating system. Tests can make each of them fail; see <qel/testing/faults.h>.
enum class Operation {
    Open,       ///< of files, folders and handles of processes; duplicates of a descriptor
    Read,       ///< from files, pipes and terminals
    Write,      ///< to files, pipes and terminals
    Sync,       ///< of files, folders and mapped windows
    Close,      ///< of any handle
    Rename,     ///< of files and folders
    Remove,     ///< of files, links and empty folders
    SetSize,    ///< cuts, extends or reserves
    SetMode,    ///< permission bits
    SetOwner,   ///< user and group
    SetTime,    ///< time of the last change
    ReadStatus, ///< of files, access rights and disks
    ReadFolder, ///< a block of the names in a folder
    MakeFolder, ///< creates a folder
    MakeLink,   ///< creates a link
    ReadLink,   ///< reads a symbolic link, or resolves a path
    Map,        ///< shows a file as memory
    Lock,       ///< takes or releases the lock of a file
    MakePipe,   ///< creates a pipe
    Spawn,      ///< starts a program
    Wait,       ///< for the readiness of handles, or the end of a child
    MakeSocket, ///< creates a socket or a pair of them
    Bind,       ///< gives a socket its name
    Listen,     ///< lets others connect
    Accept,     ///< takes a connection
    Connect,    ///< connects to a name
    Send,       ///< to a socket
    Receive,    ///< from a socket
};

/// How many kinds there are.
inline constexpr int kOperationCount = static_cast<int>(Operation::Receive) + 1;

/// The name of @p operation, as "ReadFolder".
/// @threads any thread.
QEL_API const char* operationName(Operation operation);

} // namespace qel::platform
