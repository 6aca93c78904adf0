#include <qel/script/native_class.h>

#include <qel/script/machine_entry_p.h>
#include <qel/script/native_call.h>
#include <qel/script/object_interfaces.h>

namespace qelSq {

namespace {

constexpr const char* kSetTable = "__qel_setTable";
constexpr const char* kGetTable = "__qel_getTable";

// Pushes the accessor closure for the key at index 2 from the table in the free variable at @p table. For an
// unknown key, throws null, by which the machine recognises that the member does not exist.
bool pushAccessor(SQVM* vm, SQInteger table) {
    sq_push(vm, 2);
    if (SQ_SUCCEEDED(sq_rawget(vm, table))) return true;
    sq_pushnull(vm);
    sq_throwobject(vm);
    return false;
}

SQInteger getMember(SQVM* vm) {
    if (sq_gettop(vm) != 3) return internal::raiseArgumentCount(vm, false);
    if (!pushAccessor(vm, 3)) return SQ_ERROR;
    sq_push(vm, 1);
    return SQ_SUCCEEDED(sq_call(vm, 1, SQTrue, SQFalse)) ? 1 : SQ_ERROR;
}

SQInteger setMember(SQVM* vm) {
    if (sq_gettop(vm) != 4) return internal::raiseArgumentCount(vm, false);
    if (!pushAccessor(vm, 4)) return SQ_ERROR;
    sq_push(vm, 1);
    sq_push(vm, 3);
    return SQ_SUCCEEDED(sq_call(vm, 2, SQFalse, SQFalse)) ? 0 : SQ_ERROR;
}

SQInteger makeWeakReference(SQVM* vm) {
    sq_weakref(vm, 1);
    return 1;
}

// Creates a native closure with one free variable.
Object closureOver(SQVM* vm, SQFUNCTION function, const Object& variable) {
    Object closure;
    variable.push(vm);
    sq_newclosure(vm, function, 1);
    closure.popFromStackAddRef(vm);
    return closure;
}

} // namespace

void AdapterData::initialize(SQVM* vm, SQFUNCTION constructor, SQFUNCTION cloned, const char* className) {
    sq_newclass(vm, SQFalse);
    m_class.popFromStackAddRef(vm);
    Object setters = Object::newTable();
    Object getters = Object::newTable();
    m_class.set("__qel_nativeClassName", Object::of(className));
    m_class.set(kSetTable, setters);
    m_class.set(kGetTable, getters);
    m_class.set("_set", closureOver(vm, &setMember, setters));
    m_class.set("_get", closureOver(vm, &getMember, getters));
    m_class.asTable()
        .squirrelFunction("weakref", &makeWeakReference)
        .squirrelFunction("constructor", constructor)
        .squirrelFunction("cloned", cloned)
        .squirrelFunction("_cloned", cloned); // the name that the machine's clone operator looks up
}

void AdapterData::setTypeTag(SQVM* vm, SQUserPointer tag) {
    internal::MachineEntry entry(vm);
    m_class.push(vm);
    sq_settypetag(vm, -1, tag);
}

Object* AdapterData::allocObject(SQVM*) {
    return new Object(m_class);
}

void AdapterData::freeObject(Object* object) {
    delete object;
}

namespace internal {

const Object& classOf(SQVM* vm, const ClassRecipe& recipe) {
    VMControl& control = VMControl::from(vm);
    AdapterData& adapter = control.adapterMap[recipe.type];
    if (!adapter.getClass().isNull()) return adapter.getClass();
    adapter.initialize(vm, recipe.constructor, recipe.cloned, recipe.name);
    adapter.setTypeTag(vm, recipe.typeTag);
    if (recipe.referenceCounted) control.referenceCountedTags.insert(recipe.typeTag);
    Object* cls = adapter.allocObject(vm);
    recipe.bind(cls);
    adapter.freeObject(cls);
    return adapter.getClass();
}

void pushInstance(SQVM* vm, const Object& cls, SQUserPointer pointer, SQRELEASEHOOK hook) {
    cls.push(vm);
    sq_createinstance(vm, -1);
    sq_remove(vm, -2);
    sq_setinstanceup(vm, -1, pointer);
    if (hook) sq_setreleasehook(vm, -1, hook);
}

qel::Object* referenceCountedAt(SQVM* vm, SQInteger index) {
    SQUserPointer pointer = nullptr;
    if (SQ_FAILED(sq_getinstanceup(vm, index, &pointer, nullptr)) || !pointer) return nullptr;
    const auto& tags = VMControl::from(vm).referenceCountedTags;
    MachineEntry entry(vm);
    // A class that a script derives from a bound class has no tag of its own.
    sq_getclass(vm, index);
    SQUserPointer tag = nullptr;
    while (SQ_SUCCEEDED(sq_gettypetag(vm, -1, &tag))) {
        if (tags.contains(tag)) return static_cast<qel::Object*>(pointer);
        if (SQ_FAILED(sq_getbase(vm, -1))) break;
        sq_remove(vm, -2);
    }
    return nullptr;
}

SQInteger refuseConstructor(SQVM* vm) {
    return sq_throwerror(vm, "constructor called on native noconstructor qel class");
}

SQInteger refuseClone(SQVM* vm) {
    return sq_throwerror(vm, "clone called on native noconstructor qel class");
}

SQInteger refuseCopy(SQVM* vm) {
    return sq_throwerror(vm, "clone called on native nocopy qel class");
}

SQInteger raiseNoReceiver(SQVM* vm) {
    return sq_throwerror(vm, "native method call on null-pointer");
}

SQInteger raiseNoSource(SQVM* vm, bool referenceCounted) {
    return sq_throwerror(vm, referenceCounted ? "cloning native qel class with null-pointer"
                                              : "clone of native class with null-pointer");
}

SQInteger releaseReference(SQUserPointer pointer, SQInteger) {
    static_cast<qel::Object*>(pointer)->decreaseReferenceCount();
    return 0;
}

} // namespace internal
} // namespace qelSq
