// UpdateMechanism: lets a server receive an installer from a client and run it.
#pragma once

#include <qel/foundation/base/delegate.h>
#include <qel/foundation/base/object.h>
#include <qel/platform/api.h>

namespace qel {

class RpcContext;
class RpcProvider;

/// Three remote calls that replace the running server by a newer one: upload the installer, back up the data,
/// run the installer. A successful start of the installer ends this process as an interrupt does.
/// @threads main thread.
class QEL_API UpdateMechanism : public Object {
    QEL_CLASS(UpdateMechanism, Object)

public:
    /// The backup succeeds, by doing nothing, until the host connects its own.
    UpdateMechanism();

    /// Registers "upload_update_package", "install_update_package" and "backup_data". A call that comes when
    /// this object has died returns without a result.
    void registerRpcCalls(RpcProvider* provider);
    /// Backs up, starts the installer that was uploaded, and sets the interrupt flag.
    /// @return whether the installer was started; what becomes of it is not observed.
    /// @errors logged: an installer runs already, the backup failed, there is no installer, or it does not
    ///         start.
    bool installUpdatePackage();

    /// Backs up the host's data; false when that failed. "install_update_package" calls it twice.
    Delegate<bool()> delegateBackup;

private:
    void install(const RpcContext& context);
    void backUp(const RpcContext& context);
    bool runInstaller();
};

} // namespace qel
