#include <qel/script/vm.h>

#include <qel/foundation/log/message_stream.h>
#include <qel/script/async_queue.h>
#include <qel/script/compile_p.h>
#include <qel/script/machine_entry_p.h>
#include <qel/script/machine_limits_p.h>
#include <qel/script/script_library_p.h>
#include <qel/script/script_log_p.h>
#include <qel/script/vm_control.h>

#include <cstring>

namespace qelSq {

namespace {

constexpr SQInteger kInitialStackSize = 1024;

template <typename Push>
Object taken(SQVM* vm, Push push) {
    Object object;
    push(vm);
    object.popFromStackAddRef(vm);
    return object;
}

} // namespace

VM::VM() : m_vm(sq_open(kInitialStackSize)), m_control(std::make_unique<VMControl>()) {
    m_control->vm = this;
    Global::squirrelVM = m_vm;
    ++Global::generation;
    sq_enabledebuginfo(m_vm, SQTrue);
    sq_setsharedforeignptr(m_vm, m_control.get());
    internal::installLogging(m_vm);
    seterrorhandlers(m_vm);
    internal::limitMachine(*this);
    internal::openLibrary(*this);
    initImport();
    sq_reseterror(m_vm); // the library's own lookups leave an error
}

VM::~VM() {
    Global::squirrelVM = nullptr;
    sq_close(m_vm);
}

VM* VM::from(SQVM* vm) {
    return VMControl::from(vm).vm;
}

SQVM* VM::getRunningScript() {
    SQVM* root = Global::squirrelVM;
    if (!root) return nullptr;
    Thread* thread = from(root)->m_currentThread;
    return thread ? thread->vm : root;
}

void VM::seterrorhandlers(SQVM* vm) {
    internal::MachineEntry entry(vm);
    sq_newclosure(vm, &internal::reportRuntimeError, 0);
    sq_setnativeclosurename(vm, -1, "error handler");
    sq_seterrorhandler(vm);
}

void VM::reportCompilerError(const char* description, const char* sourceName, qel::int32 line) {
    m_lastCompilerDescription = description;
    m_lastCompilerSource = sourceName;
    m_lastCompilerLine = line;
    qel::logging::error() << "[SQ.COMPILER] " << sourceName << "(" << line << "): " << description;
}

bool VM::compileSource(const char* source, size_t length, const char* sourceName) {
    internal::MachineEntry entry(m_vm);
    return internal::compile(m_vm, {source, length}, sourceName);
}

bool VM::executeBuffer(const char* source, size_t length, const char* sourceName) {
    internal::MachineEntry entry(m_vm);
    if (internal::compile(m_vm, {source, length}, sourceName)) {
        sq_pushroottable(m_vm);
        if (SQ_SUCCEEDED(sq_call(m_vm, 1, SQFalse, SQTrue))) return true;
    }
    noteFailedScript();
    return false;
}

bool VM::executeString(const char* source, const char* sourceName) {
    return executeBuffer(source, std::strlen(source), sourceName);
}

Object VM::newClosure(std::string_view source, const char* sourceName) {
    internal::MachineEntry entry(m_vm);
    return internal::compile(m_vm, source, sourceName) ? Object(m_vm, -1) : Object();
}

Object VM::newClosure(qel::ConstByteSpan bytecode) {
    return {NewClosureType::Closure, bytecode};
}

Object VM::newClosure(SQFUNCTION function, const void* data, size_t size) {
    return {NewClosureType::Closure, function, data, size};
}

Object VM::newArray(SQInteger size) {
    return taken(m_vm, [size](SQVM* vm) { sq_newarray(vm, size < 0 ? 0 : size); });
}

Object VM::newTable() {
    return Object::newTable();
}
Object VM::getRootTable() {
    return taken(m_vm, &sq_pushroottable);
}
Object VM::getConstTable() {
    return taken(m_vm, &sq_pushconsttable);
}

Object VM::construct(const char* className) {
    import(className);
    internal::MachineEntry entry(m_vm);
    std::string source = std::string("return ") + className + "()";
    if (!internal::compile(m_vm, source, "unknown")) return {};
    sq_pushroottable(m_vm);
    return SQ_SUCCEEDED(sq_call(m_vm, 1, SQTrue, SQTrue)) ? Object(m_vm, -1) : Object();
}

qel::String VM::getLastError() {
    internal::MachineEntry entry(m_vm);
    sq_getlasterror(m_vm);
    const SQChar* text = nullptr;
    if (sq_gettype(m_vm, -1) == OT_NULL || SQ_FAILED(sq_tostring(m_vm, -1))) return {};
    sq_getstring(m_vm, -1, &text);
    return qel::String(text);
}

} // namespace qelSq
