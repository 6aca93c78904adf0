#include <qel/script/object.h>

#include <qel/foundation/log/message_stream.h>
#include <qel/script/machine_entry_p.h>
#include <qel/script/object_interfaces.h>

#include <algorithm>
#include <cstring>
#include <utility>

namespace qelSq {

SQVM* Global::squirrelVM = nullptr;
qel::uint32 Global::generation = 0;

namespace {

constexpr const char* kNativeClassName = "__qel_nativeClassName";

SQInteger readBytes(SQUserPointer source, SQUserPointer target, SQInteger size) {
    auto& left = *static_cast<qel::ConstByteSpan*>(source);
    size_t count = std::min(static_cast<size_t>(size), left.size);
    if (count != 0) std::memcpy(target, left.data, count);
    left = {left.data + count, left.size - count};
    return static_cast<SQInteger>(count);
}

template <typename Push>
Object pushed(Push push) {
    Object object;
    if (SQVM* vm = Global::squirrelVM) {
        push(vm);
        object.popFromStackAddRef(vm);
    }
    return object;
}

} // namespace

Object::Object(const HSQOBJECT& handle) : m_handle(handle) {
    if (ISREFCOUNTED(m_handle._type) && isAlive()) sq_addref(Global::squirrelVM, &m_handle);
}

Object::Object(SQVM* vm, SQInteger index) {
    sq_resetobject(&m_handle);
    sq_getstackobj(vm, index, &m_handle);
    if (isAlive()) sq_addref(Global::squirrelVM, &m_handle);
}

Object::Object(NewClosureType, qel::ConstByteSpan bytecode) : Object() {
    SQVM* vm = Global::squirrelVM;
    if (!vm) return;
    internal::MachineEntry entry(vm);
    if (SQ_FAILED(sq_readclosure(vm, &readBytes, &bytecode))) {
        qel::logging::warning() << "[SQ] cannot deserialize squirrel bytecode";
        return;
    }
    *this = Object(vm, -1);
}

Object::Object(NewClosureType, SQFUNCTION function, const void* data, size_t size) : Object() {
    SQVM* vm = Global::squirrelVM;
    if (!vm) return;
    if (size != 0) std::memcpy(sq_newuserdata(vm, size), data, size);
    sq_newclosure(vm, function, size != 0 ? 1 : 0);
    popFromStackAddRef(vm);
}

Object::Object(const Object& other) : Object(other.handle()) {}

Object::Object(Object&& other) noexcept : m_handle(other.m_handle), m_generation(other.m_generation) {
    sq_resetobject(&other.m_handle);
}

Object Object::of(bool value) {
    return pushed([&](SQVM* vm) { sq_pushbool(vm, value ? SQTrue : SQFalse); });
}

Object Object::of(SQInteger value) {
    return pushed([&](SQVM* vm) { sq_pushinteger(vm, value); });
}

Object Object::of(SQFloat value) {
    return pushed([&](SQVM* vm) { sq_pushfloat(vm, value); });
}

Object Object::of(const char* value) {
    return pushed([&](SQVM* vm) { sq_pushstring(vm, value, -1); });
}

Object Object::of(const std::string& value) {
    return pushed([&](SQVM* vm) { sq_pushstring(vm, value.data(), static_cast<SQInteger>(value.size())); });
}

Object Object::newTable() {
    return pushed(&sq_newtable);
}

void Object::swap(Object& other) noexcept {
    std::swap(m_handle, other.m_handle);
    std::swap(m_generation, other.m_generation);
}

void Object::popFromStackAddRef(SQVM* vm) {
    *this = Object(vm, -1);
    sq_poptop(vm);
}

HSQOBJECT Object::handle() const {
    if (isAlive()) return m_handle;
    HSQOBJECT null;
    sq_resetobject(&null);
    return null;
}

bool Object::isNativeClass() const {
    return isClass() && rawget(kNativeClassName).isString();
}

bool Object::isNativeInstance() const {
    Object self = *this;
    return isInstance() && self.asInstance().getClass().isNativeClass();
}

bool Object::isGUID() const {
    Object self = *this;
    return isInstance() && self.asInstance().getClass().getNativeClassName() == "GUID";
}

qel::String Object::getNativeClassName() const {
    return isClass() ? rawget(kNativeClassName).asString() : qel::String();
}

bool Object::asBool() const {
    HSQOBJECT object = handle();
    switch (object._type) {
    case OT_NULL:
        return false;
    case OT_BOOL:
    case OT_INTEGER:
        return object._unVal.nInteger != 0;
    case OT_FLOAT:
        return object._unVal.fFloat != 0;
    default:
        return true;
    }
}

SQInteger Object::asInteger() const {
    HSQOBJECT object = handle();
    return sq_objtointeger(&object);
}

SQFloat Object::asFloat() const {
    HSQOBJECT object = handle();
    return sq_objtofloat(&object);
}

qel::String Object::asString() const {
    HSQOBJECT object = handle();
    return qel::String(sq_objtostring(&object));
}

TableInterface Object::asTable() {
    return TableInterface(this);
}
ArrayInterface Object::asArray() {
    return ArrayInterface(this);
}
ClosureInterface Object::asClosure() {
    return ClosureInterface(this);
}
InstanceInterface Object::asInstance() {
    return InstanceInterface(this);
}

HSQOBJECT Object::getSlotAddRef(const Object& key) const {
    return lookUp(key, &sq_get);
}
HSQOBJECT Object::rawgetSlotAddRef(const Object& key) const {
    return lookUp(key, &sq_rawget);
}

HSQOBJECT Object::lookUp(const Object& key, SQRESULT (*fetch)(HSQUIRRELVM, SQInteger)) const {
    HSQOBJECT found;
    sq_resetobject(&found);
    SQVM* vm = Global::squirrelVM;
    if (!vm) return found;
    internal::MachineEntry entry(vm);
    push(vm);
    key.push(vm);
    if (SQ_SUCCEEDED(fetch(vm, -2))) {
        sq_getstackobj(vm, -1, &found);
        sq_addref(vm, &found);
    }
    return found;
}

bool Object::set(const Object& key, const Object& value, bool isStatic) {
    SQVM* vm = Global::squirrelVM;
    if (!vm || !(isTable() || isClass())) return false;
    internal::MachineEntry entry(vm);
    push(vm);
    key.push(vm);
    value.push(vm);
    return SQ_SUCCEEDED(sq_newslot(vm, -3, isStatic ? SQTrue : SQFalse));
}

SQInteger Object::getSize() const {
    SQVM* vm = Global::squirrelVM;
    if (!vm) return 0;
    internal::MachineEntry entry(vm);
    push(vm);
    return std::max<SQInteger>(sq_getsize(vm, -1), 0);
}

bool Object::equals(const Object& other) const {
    HSQOBJECT a = handle();
    HSQOBJECT b = other.handle();
    return a._type == b._type && (a._type == OT_NULL || a._unVal.raw == b._unVal.raw);
}

void Object::release() {
    if (ISREFCOUNTED(m_handle._type) && isAlive()) sq_release(Global::squirrelVM, &m_handle);
}

} // namespace qelSq
