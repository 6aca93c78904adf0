// UnmanagedObject: an Object that smart pointers never delete.
#pragma once

#include <qel/foundation/base/object.h>

namespace qel {

/// Base of objects that live on the stack or inside another object. It starts with one reference of its own,
/// so that no SmartPointer ever deletes it.
class QEL_API UnmanagedObject : public Object {
    QEL_CLASS(UnmanagedObject, Object)

public:
    /// Takes the reference that keeps smart pointers from deleting the object.
    UnmanagedObject() { disableSmartPointers(); }
    /// A copy takes no reference: it is a managed object like any other.
    UnmanagedObject(const UnmanagedObject& other) : Object(other) {}
    /// Leaves the counts of both sides as they are.
    UnmanagedObject& operator=(const UnmanagedObject&) = default;
};

} // namespace qel
