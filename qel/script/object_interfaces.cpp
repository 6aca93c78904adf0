#include <qel/script/object_interfaces.h>

#include <qel/foundation/log/message_stream.h>
#include <qel/script/machine_entry_p.h>

namespace qelSq {

namespace {

SQInteger appendBytes(SQUserPointer target, SQUserPointer bytes, SQInteger size) {
    static_cast<qel::Buffer*>(target)->append(static_cast<const qel::uint8*>(bytes),
                                              static_cast<size_t>(size));
    return size;
}

// Calls @p visit(vm) for each slot of @p container, with its key and value on top of the stack.
template <typename Visit>
void forEachSlot(const Object& container, Visit visit) {
    SQVM* vm = Global::squirrelVM;
    if (!vm) return;
    internal::MachineEntry entry(vm);
    container.push(vm);
    sq_pushnull(vm);
    while (SQ_SUCCEEDED(sq_next(vm, -2))) {
        visit(vm);
        sq_pop(vm, 2);
    }
}

// Calls @p change(vm) with @p array on top of the stack. @return false if that fails or @p array is not an
// array.
template <typename Change>
bool changeArray(const Object& array, Change change) {
    SQVM* vm = Global::squirrelVM;
    if (!vm || !array.isArray()) return false;
    internal::MachineEntry entry(vm);
    array.push(vm);
    return SQ_SUCCEEDED(change(vm));
}

} // namespace

qel::List<qel::Pair<Object, Object>> TableInterface::getKeyValuePairs() const {
    qel::List<qel::Pair<Object, Object>> pairs;
    if (!obj()->isTable() && !obj()->isClass()) return pairs;
    forEachSlot(*obj(), [&](SQVM* vm) { pairs.emplace_back(Object(vm, -2), Object(vm, -1)); });
    return pairs;
}

TableInterface& TableInterface::squirrelFunction(const char* name, SQFUNCTION function, const void* data,
                                                 size_t size) {
    set(name, Object(NewClosureType::Closure, function, data, size));
    return *this;
}

bool ArrayInterface::append(const Object& value) {
    return insert(obj()->getSize(), value);
}

qel::Vector<Object> ArrayInterface::getValues() const {
    qel::Vector<Object> values;
    if (!obj()->isArray()) return values;
    values.reserve(static_cast<size_t>(obj()->getSize()));
    forEachSlot(*obj(), [&](SQVM* vm) { values.emplace_back(vm, -1); });
    return values;
}

bool ArrayInterface::insert(SQInteger index, const Object& value) {
    if (index < 0) return false;
    return changeArray(*obj(), [&](SQVM* vm) {
        bool atEnd = index == sq_getsize(vm, -1);
        value.push(vm);
        return atEnd ? sq_arrayappend(vm, -2) : sq_arrayinsert(vm, -2, index);
    });
}

Object ArrayInterface::pop() {
    Object last;
    changeArray(*obj(), [&](SQVM* vm) {
        SQRESULT result = sq_arraypop(vm, -1, SQTrue);
        if (SQ_SUCCEEDED(result)) last = Object(vm, -1);
        return result;
    });
    return last;
}

bool ArrayInterface::remove(SQInteger index) {
    return changeArray(*obj(), [&](SQVM* vm) { return sq_arrayremove(vm, -1, index); });
}

bool ArrayInterface::resize(SQInteger size) {
    return size >= 0 && changeArray(*obj(), [&](SQVM* vm) { return sq_arrayresize(vm, -1, size); });
}

bool ArrayInterface::reverse() {
    return changeArray(*obj(), [](SQVM* vm) { return sq_arrayreverse(vm, -1); });
}

bool ClosureInterface::getBytecode(qel::Buffer& buffer) const {
    buffer.clear();
    if (SQVM* vm = Global::squirrelVM) {
        internal::MachineEntry entry(vm);
        obj()->push(vm);
        if (SQ_SUCCEEDED(sq_writeclosure(vm, &appendBytes, &buffer))) return true;
    }
    qel::logging::warning() << "[SQ] cannot serialize squirrel bytecode";
    return false;
}

Functor ClosureInterface::getFunctorOn(const Object& receiver) const {
    return {receiver, *obj()};
}

Functor ClosureInterface::getFunctorOnRoot() const {
    Object root;
    if (SQVM* vm = Global::squirrelVM) {
        sq_pushroottable(vm);
        root.popFromStackAddRef(vm);
    }
    return getFunctorOn(root);
}

Object InstanceInterface::getClass() const {
    SQVM* vm = Global::squirrelVM;
    if (!vm || !obj()->isInstance()) return {};
    internal::MachineEntry entry(vm);
    obj()->push(vm);
    return SQ_SUCCEEDED(sq_getclass(vm, -1)) ? Object(vm, -1) : Object();
}

void* InstanceInterface::getNativeVoidPointer() const {
    SQVM* vm = Global::squirrelVM;
    SQUserPointer pointer = nullptr;
    if (!vm || !obj()->isNativeInstance()) return nullptr;
    internal::MachineEntry entry(vm);
    obj()->push(vm);
    sq_getinstanceup(vm, -1, &pointer, nullptr);
    return pointer;
}

} // namespace qelSq
