// Data that native functions can reach from any handle of the script machine: the VM and its bound classes.
#pragma once

#include <qel/foundation/base/containers.h>
#include <qel/script/object.h>

#include <set>
#include <typeinfo>

namespace qelSq {

class VM;

/// Orders native types by type identity, so that all libraries that bind a type share one entry.
struct TypeInfoComparator {
    /// Returns true if @p a comes before @p b.
    bool operator()(const std::type_info* a, const std::type_info* b) const { return a->before(*b); }
};

/// The script class of one native type.
class QEL_API AdapterData {
public:
    /// Creates the class without members of its own.
    /// @param constructor  called when a script creates an instance.
    /// @param cloned       called on the copy when a script clones an instance.
    /// @param className    zero-terminated; marks the class as native.
    void initialize(SQVM* vm, SQFUNCTION constructor, SQFUNCTION cloned, const char* className);
    /// Sets the tag that distinguishes instances of this class from those of other classes.
    void setTypeTag(SQVM* vm, SQUserPointer tag);
    /// Returns a handle for bindSqVM() to fill; the caller releases it by freeObject().
    Object* allocObject(SQVM* vm);
    /// Releases a handle returned by allocObject().
    void freeObject(Object* object);
    /// Returns the class; null before initialize().
    const Object& getClass() const { return m_class; }

private:
    Object m_class;
};

/// Data that the root machine and all its threads share.
struct QEL_API VMControl {
    /// The VM that owns the machine.
    VM* vm = nullptr;
    /// Bound classes by native type; an entry that is not bound yet holds null.
    std::map<const std::type_info*, AdapterData, TypeInfoComparator> adapterMap;
    /// Type tags of the classes whose instances hold a qel::Object.
    std::set<SQUserPointer> referenceCountedTags;
    /// Number of coroutines that have called each other and not yet returned.
    int coroutineDepth = 0;
    /// True if the running or last compilation stopped early because its source needs too much stack.
    bool isSourceTooDeep = false;

    /// Returns the data of the machine to which @p vm belongs.
    static VMControl& from(SQVM* vm) { return *static_cast<VMControl*>(sq_getsharedforeignptr(vm)); }
};

} // namespace qelSq
