#include <qel/script/compile_p.h>

#include <qel/script/native_call.h>
#include <qel/script/source_nesting_p.h>
#include <qel/script/vm.h>

namespace qelSq::internal {

namespace {

constexpr const char* kTooDeep = "source is nested too deep";

} // namespace

bool compile(SQVM* vm, std::string_view source, const char* sourceName) {
    const char* name = sourceName ? sourceName : "unknown";
    NestingExcess excess = findNestingExcess(source, VM::kMaxSourceNesting);
    if (excess.found) {
        VM::from(vm)->reportCompilerError(kTooDeep, name, excess.line);
        return false;
    }
    return SQ_SUCCEEDED(
        sq_compilebuffer(vm, source.data(), static_cast<SQInteger>(source.size()), name, SQTrue));
}

SQInteger compileString(SQVM* vm) {
    SQInteger top = sq_gettop(vm);
    if (top < 2 || top > 3) return raiseArgumentCount(vm, true);
    TextAccess source(vm, 2);
    if (top == 2) sq_pushstring(vm, "unnamedbuffer", -1);
    TextAccess name(vm, 3);
    if (findNestingExcess(source.view(), VM::kMaxSourceNesting).found) return sq_throwerror(vm, kTooDeep);
    auto size = static_cast<SQInteger>(source.view().size());
    return SQ_SUCCEEDED(sq_compilebuffer(vm, source.c_str(), size, name.c_str(), SQFalse)) ? 1 : SQ_ERROR;
}

} // namespace qelSq::internal
