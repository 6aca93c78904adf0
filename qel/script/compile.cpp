#include <qel/script/compile_p.h>

#include <qel/platform/c_locale.h>
#include <qel/platform/stack_position.h>
#include <qel/script/native_call.h>
#include <qel/script/vm.h>
#include <qel/script/vm_control.h>

#include <algorithm>

namespace qelSq::internal {

namespace {

constexpr const char* kTooDeep = "source is nested too deeply";

/// Feeds a source to the compiler, character by character. The compiler recurses for everything that is
/// nested and never checks its stack, but it cannot recurse without reading on. So the source ends early once
/// the compiler has used up its share of the stack.
class SourceReader {
public:
    SourceReader(SQVM* vm, std::string_view source)
        : m_vm(vm), m_source(source), m_start(qel::platform::stackPosition()) {
        VMControl::from(vm).isSourceTooDeep = false;
    }

    /// Pushes the closure of the source. @return false with nothing pushed if it does not compile.
    bool compile(const char* name, bool reportsErrors) {
        SQBool reports = reportsErrors ? SQTrue : SQFalse;
        if (SQ_FAILED(sq_compile(m_vm, &readNext, this, name, reports))) return false;
        if (isTooDeep()) sq_poptop(m_vm); // the part before the early end was a complete source
        return !isTooDeep();
    }

    bool isTooDeep() const { return VMControl::from(m_vm).isSourceTooDeep; }

    /// Returns the line that was read last, counted from 1.
    qel::int32 line() const {
        std::string_view passed = m_source.substr(0, m_at);
        return 1 + static_cast<qel::int32>(std::count(passed.begin(), passed.end(), '\n'));
    }

private:
    static SQInteger readNext(SQUserPointer reader) { return static_cast<SourceReader*>(reader)->next(); }

    // The next character; 0 at the end.
    SQInteger next() {
        if (m_start - qel::platform::stackPosition() > VM::kCompilerStackBytes) {
            VMControl::from(m_vm).isSourceTooDeep = true;
        }
        if (isTooDeep() || m_at >= m_source.size()) return 0;
        return static_cast<unsigned char>(m_source[m_at++]);
    }

    SQVM* m_vm;
    std::string_view m_source;
    size_t m_at = 0;
    std::uintptr_t m_start;
};

} // namespace

bool compile(SQVM* vm, std::string_view source, const char* sourceName) {
    const char* name = sourceName ? sourceName : "unknown";
    const qel::platform::CLocaleScope locale;
    if (source.starts_with("\xEF\xBB\xBF")) source.remove_prefix(3);
    SourceReader reader(vm, source);
    if (reader.compile(name, true)) return true;
    if (reader.isTooDeep()) VM::from(vm)->reportCompilerError(kTooDeep, name, reader.line());
    return false;
}

SQInteger compileString(SQVM* vm) {
    SQInteger top = sq_gettop(vm);
    if (top < 2 || top > 3) return raiseArgumentCount(vm, true);
    TextAccess source(vm, 2);
    if (top == 2) sq_pushstring(vm, "unnamedbuffer", -1);
    TextAccess name(vm, 3);
    SourceReader reader(vm, source.view());
    if (reader.compile(name.c_str(), false)) return 1;
    return reader.isTooDeep() ? sq_throwerror(vm, kTooDeep) : SQ_ERROR;
}

} // namespace qelSq::internal
