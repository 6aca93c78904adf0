// What native functions reach from any handle of the script machine: the VM and its bound classes.
#pragma once

#include <qel/foundation/base/containers.h>
#include <qel/script/object.h>

#include <set>
#include <typeinfo>

namespace qelSq {

class VM;

/// Orders native types by the identity of the type, so that every library that binds a type means the same
/// one.
struct TypeInfoComparator {
    /// Whether @p a comes before @p b.
    bool operator()(const std::type_info* a, const std::type_info* b) const { return a->before(*b); }
};

/// The script class of one native type.
class QEL_API AdapterData {
public:
    /// Makes the class, without members of its own.
    /// @param constructor  called by scripts that make an instance.
    /// @param cloned       called on the copy when a script clones an instance.
    /// @param className    zero-terminated; marks the class as native.
    void initialize(SQVM* vm, SQFUNCTION constructor, SQFUNCTION cloned, const char* className);
    /// Sets the mark by which instances of the class are told from those of others.
    void setTypeTag(SQVM* vm, SQUserPointer tag);
    /// A handle for bindSqVM() to fill; the caller gives it back by freeObject().
    Object* allocObject(SQVM* vm);
    /// Ends what allocObject() began.
    void freeObject(Object* object);
    /// The class; null before initialize().
    const Object& getClass() const { return m_class; }

private:
    Object m_class;
};

/// Shared by the root machine and all its threads.
struct QEL_API VMControl {
    /// The machine.
    VM* vm = nullptr;
    /// Bound classes by native type; an entry that is not bound yet holds null.
    std::map<const std::type_info*, AdapterData, TypeInfoComparator> adapterMap;
    /// Type tags of the classes whose instances hold a qel::Object.
    std::set<SQUserPointer> referenceCountedTags;
    /// Coroutines that have called each other and not returned.
    int coroutineDepth = 0;
    /// Set by the running or last compilation when its source ended early for want of stack.
    bool isSourceTooDeep = false;

    /// The record that @p vm belongs to.
    static VMControl& from(SQVM* vm) { return *static_cast<VMControl*>(sq_getsharedforeignptr(vm)); }
};

} // namespace qelSq
