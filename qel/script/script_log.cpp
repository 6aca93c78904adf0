#include <qel/script/script_log_p.h>

#include <qel/foundation/log/message_stream.h>
#include <qel/script/vm.h>
#include <qel/script/vm_control.h>

#include <fmt/format.h>

#include <cstdarg>
#include <cstdio>
#include <vector>

namespace qelSq {

namespace {

constexpr SQInteger kCallStackLevels = 20;
constexpr size_t kShownTextCodePoints = 40;

const char* orUnknown(const char* text) {
    return text ? text : "unknown";
}

// Logs a text in printf format. If it does not fit into the local buffer, it is formatted again into one of
// the right size.
void printToLog(qel::logging::MessageStream line, const char* format, va_list arguments) {
    char buffer[2048];
    va_list again;
    va_copy(again, arguments);
    int length = std::vsnprintf(buffer, sizeof(buffer), format, arguments);
    if (length >= static_cast<int>(sizeof(buffer))) {
        std::vector<char> whole(static_cast<size_t>(length) + 1);
        std::vsnprintf(whole.data(), whole.size(), format, again);
        line << whole.data();
    } else if (length >= 0) {
        line << buffer;
    }
    va_end(again);
}

void printInfo(HSQUIRRELVM, const SQChar* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    printToLog(qel::logging::info(), format, arguments);
    va_end(arguments);
}

void printError(HSQUIRRELVM, const SQChar* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    printToLog(qel::logging::error(), format, arguments);
    va_end(arguments);
}

void reportCompilerError(HSQUIRRELVM vm, const SQChar* description, const SQChar* source, SQInteger line,
                         SQInteger) {
    if (VMControl::from(vm).isSourceTooDeep) return; // compile() reports the cause
    VM::from(vm)->reportCompilerError(description, source, static_cast<qel::int32>(line));
}

std::string formatClosure(SQVM* vm, SQInteger index) {
    SQUnsignedInteger parameters = 0;
    SQUnsignedInteger freeVariables = 0;
    sq_getclosureinfo(vm, index, &parameters, &freeVariables);
    std::string name = "<unnamed>";
    if (SQ_SUCCEEDED(sq_getclosurename(vm, index))) {
        const SQChar* text = nullptr;
        if (SQ_SUCCEEDED(sq_getstring(vm, -1, &text)) && text) name = text;
        sq_poptop(vm);
    }
    return fmt::format("CLOSURE {} {} args {} freevars", name, parameters, freeVariables);
}

const char* nameOfRawType(SQObjectType type) {
    switch (type) {
    case OT_TABLE:
        return "TABLE ";
    case OT_ARRAY:
        return "ARRAY ";
    case OT_USERDATA:
        return "USERDATA ";
    case OT_USERPOINTER:
        return "USERPOINTER ";
    case OT_INSTANCE:
        return "INSTANCE ";
    case OT_WEAKREF:
        return "WEAKREF ";
    case OT_GENERATOR:
        return "GENERATOR ";
    case OT_THREAD:
        return "THREAD ";
    case OT_NATIVECLOSURE:
        return "NATIVECLOSURE ";
    case OT_CLASS:
        return "CLASS";
    default:
        return nullptr;
    }
}

// Appends one line for each local of the function at @p level.
void appendLocals(SQVM* vm, SQUnsignedInteger level, std::string& text) {
    for (SQUnsignedInteger index = 0;; ++index) {
        const SQChar* name = sq_getlocal(vm, level, index);
        if (!name) return;
        text += fmt::format("   {}={}\n", name, internal::formatScriptValue(vm, -1).c_str());
        sq_poptop(vm);
    }
}

} // namespace

namespace internal {

void installLogging(SQVM* vm) {
    sq_setprintfunc(vm, &printInfo, &printError);
    sq_setcompilererrorhandler(vm, &::qelSq::reportCompilerError);
    qel::platform::setScriptStackWriter(&writeCrashStack);
}

qel::String formatScriptValue(SQVM* vm, SQInteger index) {
    HSQOBJECT object;
    sq_resetobject(&object);
    sq_getstackobj(vm, index, &object);
    switch (object._type) {
    case OT_NULL:
        return "NULL";
    case OT_INTEGER:
        return fmt::format("{} INTEGER", object._unVal.nInteger);
    case OT_FLOAT:
        return fmt::format("{:.14g} FLOAT", static_cast<double>(object._unVal.fFloat));
    case OT_BOOL:
        return object._unVal.nInteger != 0 ? "true BOOL" : "false BOOL";
    case OT_STRING:
        return "\"" + qel::String(sq_objtostring(&object)).utf8_ellipsis(kShownTextCodePoints) + "\" STRING";
    case OT_CLOSURE:
        return formatClosure(vm, index);
    default:
        break;
    }
    auto raw = static_cast<unsigned long long>(object._unVal.raw);
    if (const char* name = nameOfRawType(object._type)) return fmt::format("{}{:x}", name, raw);
    return fmt::format("UNKNOWN TYPE {} RAWVAL {:x}", static_cast<int>(object._type), raw);
}

qel::String formatCallStack(SQVM* vm) {
    std::string text = "CALLSTACK:\n";
    SQStackInfos infos;
    for (SQInteger level = 1; level <= kCallStackLevels; ++level) {
        if (SQ_FAILED(sq_stackinfos(vm, level, &infos))) break;
        text +=
            fmt::format("* {}() [{}:{}]\n", orUnknown(infos.funcname), orUnknown(infos.source), infos.line);
        appendLocals(vm, static_cast<SQUnsignedInteger>(level), text);
    }
    return text;
}

SQInteger showContext(SQVM* vm) {
    qel::logging::info() << "[SQ] " << formatCallStack(vm);
    return 0;
}

SQInteger reportRuntimeError(SQVM* vm) {
    const SQChar* error = nullptr;
    if (sq_gettop(vm) < 2 || SQ_FAILED(sq_getstring(vm, 2, &error))) error = "unknown";
    qel::logging::error() << "[SQ.INTERPRETER] " << error << "\n" << formatCallStack(vm);
    return 0;
}

void writeCrashStack(qel::platform::CrashWriter& out) {
    SQVM* vm = VM::getRunningScript();
    if (!vm) return;
    SQStackInfos infos;
    for (SQInteger level = 0; level <= kCallStackLevels; ++level) {
        if (SQ_FAILED(sq_stackinfos(vm, level, &infos))) return;
        out.text("* ").cstr(orUnknown(infos.funcname)).text("() [").cstr(orUnknown(infos.source)).text(":");
        out.decimal(infos.line).text("]\n");
    }
}

} // namespace internal
} // namespace qelSq
