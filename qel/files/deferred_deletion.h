// Receives the paths that could not be deleted.
#pragma once

#include <qel/foundation/base/object.h>
#include <qel/platform/api.h>

namespace qel {

/// Remembers paths and tries to delete them again. When a deletion fails, File and Directory look for an
/// object with the singleton name "deleteLater" (Object::setSingleton()).
class QEL_API DeferredDeletion : public Object {
    QEL_CLASS(DeferredDeletion, Object)

public:
    /// Adds a file, link or folder to be deleted; File and Directory pass its absolute path.
    /// @param origin  who requested the deletion, a tag such as "[cache][clean]".
    /// @threads main, whichever thread failed to delete; any thread while there is no System.
    virtual void addPath(const char* path, const char* origin) = 0;
};

} // namespace qel
