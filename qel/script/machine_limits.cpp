#include <qel/script/machine_limits_p.h>

#include <qel/foundation/base/buffer.h>
#include <qel/script/compile_p.h>
#include <qel/script/machine_entry_p.h>
#include <qel/script/native_call.h>
#include <qel/script/object_interfaces.h>
#include <qel/script/vm.h>

namespace qelSq::internal {

namespace {

// Stack slots reserved in addition to those that a call requests.
constexpr SQInteger kSpareStack = 64;

// Calls the closure on top of the stack with the receiver and the arguments below it, as if it had been
// called directly.
SQInteger forwardCall(SQVM* vm) {
    SQInteger closure = sq_gettop(vm);
    if (SQ_FAILED(sq_reservestack(vm, closure + 1))) return SQ_ERROR;
    for (SQInteger i = 1; i < closure; ++i) sq_push(vm, i);
    return SQ_SUCCEEDED(sq_call(vm, closure - 1, SQTrue, SQFalse)) ? 1 : SQ_ERROR;
}

// Does the same as forwardCall, but refuses a number of elements that is out of range.
SQInteger callWithSize(SQVM* vm) {
    SQInteger size = 0;
    bool isSize = sq_gettop(vm) > 2 && SQ_SUCCEEDED(sq_getinteger(vm, 2, &size));
    if (isSize && (size < 0 || size > kMaxElements)) return sq_throwerror(vm, "size out of range");
    return forwardCall(vm);
}

// The machine's own functions push elements and arguments without checking the size of the stack.
bool reserve(SQVM* vm, SQInteger count) {
    return SQ_SUCCEEDED(sq_reservestack(vm, count + kSpareStack));
}

// Does the same as forwardCall, with room for the elements of the array at index 2 as arguments.
SQInteger callWithArray(SQVM* vm) {
    SQInteger size = sq_gettop(vm) > 2 && sq_gettype(vm, 2) == OT_ARRAY ? sq_getsize(vm, 2) : 0;
    return reserve(vm, size) ? forwardCall(vm) : SQ_ERROR;
}

SQInteger callCoroutine(SQVM* vm) {
    SQVM* thread = nullptr;
    if (SQ_SUCCEEDED(sq_getthread(vm, 1, &thread)) && !reserve(thread, sq_gettop(vm))) return SQ_ERROR;
    int& depth = VMControl::from(vm).coroutineDepth;
    if (depth >= kMaxCoroutineDepth) return sq_throwerror(vm, "too many nested threads");
    ++depth;
    SQInteger result = forwardCall(vm);
    --depth;
    return result;
}

SQInteger suspendCoroutine(SQVM* vm) {
    // The root machine cannot be suspended, because nothing could wake it.
    return vm == VM::from(vm)->getSquirrelVM() ? 0 : sq_suspendvm(vm);
}

// Replaces the closure @p name of @p holder with @p function, which gets that closure as its free variable.
void wrap(Object& holder, const char* name, SQFUNCTION function) {
    SQVM* vm = Global::squirrelVM;
    MachineEntry entry(vm);
    holder.rawget(name).push(vm);
    sq_newclosure(vm, function, 1);
    holder.set(name, Object(vm, -1));
}

Object defaultDelegate(SQVM* vm, SQObjectType type) {
    Object delegate;
    sq_getdefaultdelegate(vm, type);
    delegate.popFromStackAddRef(vm);
    return delegate;
}

bool loadSource(SQVM* vm, const char* path, qel::Buffer& buffer) {
    if (!buffer.loadFromFile(path, true, false)) {
        sq_throwerror(vm, "cannot open the file");
        return false;
    }
    if (buffer.getConstByteSpan().asText().starts_with("\xFA\xFA")) {
        sq_throwerror(vm, "bytecode is not loaded from files");
        return false;
    }
    return true;
}

// Script function `loadfile(path [, report])`: pushes the closure of a source file. Unlike the machine's own
// function, it refuses bytecode, because nothing verifies that.
SQInteger loadFile(SQVM* vm) {
    SQInteger top = sq_gettop(vm);
    if (top < 2 || top > 3) return raiseArgumentCount(vm, true);
    TextAccess path(vm, 2);
    qel::Buffer buffer;
    if (!loadSource(vm, path.c_str(), buffer)) return SQ_ERROR;
    if (compile(vm, buffer.getConstByteSpan().asText(), path.c_str())) return 1;
    return sq_throwerror(vm, "cannot compile the file");
}

// Script function `dofile(path [, report])`: runs a source file on the caller's `this` and returns its
// result.
SQInteger doFile(SQVM* vm) {
    if (SQ_FAILED(loadFile(vm))) return SQ_ERROR;
    sq_push(vm, 1);
    return SQ_SUCCEEDED(sq_call(vm, 1, SQTrue, SQFalse)) ? 1 : SQ_ERROR;
}

} // namespace

void limitMachine(VM& vm) {
    Object root = vm.getRootTable();
    root.asTable()
        .squirrelFunction("compilestring", &compileString)
        .squirrelFunction("suspend", &suspendCoroutine);
    wrap(root, "array", &callWithSize);
    Object arrays = defaultDelegate(vm.getSquirrelVM(), OT_ARRAY);
    wrap(arrays, "resize", &callWithSize);
    Object closures = defaultDelegate(vm.getSquirrelVM(), OT_CLOSURE);
    for (const char* name : {"acall", "pacall"}) wrap(closures, name, &callWithArray);
    Object threads = defaultDelegate(vm.getSquirrelVM(), OT_THREAD);
    for (const char* name : {"call", "wakeup", "wakeupthrow"}) wrap(threads, name, &callCoroutine);
}

void limitStandardLibrary(Object& table) {
    table.asTable().squirrelFunction("loadfile", &loadFile).squirrelFunction("dofile", &doFile);
    Object blob = table.rawget("blob");
    for (const char* name : {"constructor", "resize", "readblob"}) wrap(blob, name, &callWithSize);
}

} // namespace qelSq::internal
