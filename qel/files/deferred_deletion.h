// Where the paths go that could not be deleted now.
#pragma once

#include <qel/foundation/base/object.h>
#include <qel/platform/api.h>

namespace qel {

/// Remembers paths and tries again to delete them. File and Directory look for one under the singleton name
/// "deleteLater" (Object::setSingleton()) when a deletion fails.
class QEL_API DeferredDeletion : public Object {
    QEL_CLASS(DeferredDeletion, Object)

public:
    /// Takes a file, link or folder that must go; File and Directory give its absolute path.
    /// @param origin  who wanted the deletion, a tag such as "[cache][clean]".
    /// @threads main, whichever thread failed to delete; any thread while there is no System.
    virtual void addPath(const char* path, const char* origin) = 0;
};

} // namespace qel
