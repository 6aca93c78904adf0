// UpdateMechanism: receives an installer from a client and runs it.
#pragma once

#include <qel/foundation/base/delegate.h>
#include <qel/foundation/base/object.h>
#include <qel/platform/api.h>

namespace qel {

class RpcContext;
class RpcProvider;

/// Provides three remote calls that replace the running server by a newer one: they upload the installer,
/// back up the data and run the installer. After a successful start of the installer, this process ends as it
/// does on an interrupt.
/// @threads main thread.
class QEL_API UpdateMechanism : public Object {
    QEL_CLASS(UpdateMechanism, Object)

public:
    /// Connects a backup that does nothing and succeeds; the host replaces it by its own.
    UpdateMechanism();

    /// Registers "upload_update_package", "install_update_package" and "backup_data". After the destruction
    /// of this object, calls of the last two have no result.
    void registerRpcCalls(RpcProvider* provider);
    /// Backs up the data, starts the uploaded installer and sets the interrupt flag. It does not wait for the
    /// installer.
    /// @return true if the installer was started.
    /// @errors logged: an installer is already running, the backup failed, the installer does not exist or
    ///         can't be started.
    bool installUpdatePackage();

    /// Backs up the host's data; returns false if that failed. "install_update_package" calls it twice.
    Delegate<bool()> delegateBackup;

private:
    void install(const RpcContext& context);
    void backUp(const RpcContext& context);
    bool runInstaller();
};

} // namespace qel
