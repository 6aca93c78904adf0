// Compiles any text, and runs programs that are derived from the input and are sure to end.
//
// The machine cannot stop a running script, so the input itself is only compiled, never run. Its bytes then
// select a program of bounded loops, calls and values of all types in all places. Whatever happens in that
// program, the machine must be able to run the next script.
#include <fuzz/require.h>
#include <qel/foundation/log/message_stream.h>
#include <qel/script/object_interfaces.h>
#include <qel/script/vm.h>

#include <array>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace {

/// Derives a program from bytes.
class ProgramWriter {
public:
    explicit ProgramWriter(std::string_view bytes) : m_bytes(bytes) {}

    std::string write() {
        m_text = "local r = null\n";
        for (int i = 0; i < kVariables; ++i) m_text += "local " + variable(i) + " = " + value() + "\n";
        while (!m_bytes.empty() && m_statements < kStatements) statement(0);
        return m_text;
    }

private:
    static constexpr int kVariables = 6;
    static constexpr int kStatements = 60;
    static constexpr int kMaxLoops = 2;

    unsigned draw(size_t count) {
        if (m_bytes.empty()) return 0;
        auto byte = static_cast<unsigned char>(m_bytes.front());
        m_bytes.remove_prefix(1);
        return byte % static_cast<unsigned>(count);
    }

    template <size_t N>
    std::string pick(const std::array<const char*, N>& choices) {
        return choices[draw(N)];
    }

    static std::string variable(int index) { return "v" + std::to_string(index); }
    std::string anyVariable() { return variable(static_cast<int>(draw(kVariables))); }

    std::string value() {
        static constexpr std::array kValues =
            std::to_array<const char*>({"null",
                                        "true",
                                        "0",
                                        "1",
                                        "-1",
                                        "3.7",
                                        "1 << 40",
                                        "\"\"",
                                        "\"text\"",
                                        "\"%d %s\"",
                                        "[]",
                                        "[3, 1, 2]",
                                        "{}",
                                        "{ a = 1 }",
                                        "@(...) 1",
                                        "function(a, b) { return a }",
                                        "function(a) { throw a }",
                                        "print",
                                        "class { x = 1 }",
                                        "class { x = 1 }()",
                                        "class { function _get(k) { throw null } }()",
                                        "class { function _tostring() { return 5 } }()",
                                        "qel.Rect()",
                                        "qel.Rect",
                                        "qel.IVec4()",
                                        "std.queue()",
                                        "std.serial_queue()",
                                        "newthread(@(...) suspend(1))",
                                        "(function() { yield 1 })()",
                                        "std.blob(8)",
                                        "std",
                                        "qel.GregorianDate()",
                                        "class extends qel.Rect { constructor() {} }()",
                                        "class extends qel.Rect {}()",
                                        "[0].weakref()",
                                        "std.async",
                                        "std[\"yield\"]",
                                        "std.sleep"});
        return pick(kValues);
    }

    std::string argument() { return draw(3) == 0 ? value() : anyVariable(); }

    std::string arguments() {
        std::string text;
        for (unsigned i = 0, count = draw(5); i < count; ++i) text += (i ? ", " : "") + argument();
        return text;
    }

    std::string member() {
        static constexpr std::array kMembers = std::to_array<const char*>({"len",
                                                                           "tostring",
                                                                           "tointeger",
                                                                           "tofloat",
                                                                           "slice",
                                                                           "find",
                                                                           "append",
                                                                           "push",
                                                                           "pop",
                                                                           "top",
                                                                           "insert",
                                                                           "remove",
                                                                           "resize",
                                                                           "sort",
                                                                           "reverse",
                                                                           "map",
                                                                           "apply",
                                                                           "filter",
                                                                           "reduce",
                                                                           "rawget",
                                                                           "rawset",
                                                                           "rawdelete",
                                                                           "rawin",
                                                                           "clear",
                                                                           "keys",
                                                                           "values",
                                                                           "setdelegate",
                                                                           "getdelegate",
                                                                           "call",
                                                                           "pcall",
                                                                           "acall",
                                                                           "pacall",
                                                                           "bindenv",
                                                                           "getinfos",
                                                                           "getroot",
                                                                           "weakref",
                                                                           "ref",
                                                                           "getclass",
                                                                           "instance",
                                                                           "getbase",
                                                                           "newmember",
                                                                           "rawnewmember",
                                                                           "getattributes",
                                                                           "setattributes",
                                                                           "instanceof",
                                                                           "wakeup",
                                                                           "wakeupthrow",
                                                                           "getstatus",
                                                                           "getstackinfos",
                                                                           "constructor",
                                                                           "cloned",
                                                                           "getClassName",
                                                                           "getReferenceCount",
                                                                           "x",
                                                                           "y1",
                                                                           "leftTop",
                                                                           "rightBottom",
                                                                           "set",
                                                                           "compare",
                                                                           "getYear",
                                                                           "formatAsDicomTime",
                                                                           "clear",
                                                                           "wait",
                                                                           "abort",
                                                                           "is_aborting",
                                                                           "set_concurrency",
                                                                           "get_concurrency",
                                                                           "__qel_getTable",
                                                                           "__qel_setTable",
                                                                           "readn",
                                                                           "writen",
                                                                           "seek",
                                                                           "tell",
                                                                           "eos",
                                                                           "readblob",
                                                                           "info",
                                                                           "queue",
                                                                           "async",
                                                                           "safe_tointeger",
                                                                           "isguid",
                                                                           "get_current_queue",
                                                                           "dbg_showcontext",
                                                                           "tolower",
                                                                           "toupper"});
        return pick(kMembers);
    }

    std::string call() {
        switch (draw(4)) {
        case 0:
            return anyVariable() + "(" + arguments() + ")";
        case 1:
            return "r." + member() + "(" + arguments() + ")";
        case 2:
            return "string." + pick(kTextFunctions) + "(" + arguments() + ")";
        default:
            return anyVariable() + "." + member() + "(" + arguments() + ")";
        }
    }

    std::string expression() {
        static constexpr std::array kOperators = std::to_array<const char*>(
            {"-", "*", "<", "==", "&", "|", "^", "<=>", "in", "instanceof", "&&", "||"});
        switch (draw(6)) {
        case 0:
            return anyVariable() + " " + pick(kOperators) + " " + argument();
        case 1:
            return anyVariable() + " + \"x\"";
        case 2:
            return "clone " + anyVariable();
        case 3:
            return "typeof " + anyVariable();
        case 4:
            return anyVariable() + "[" + argument() + "]";
        default:
            return anyVariable() + "." + member();
        }
    }

    void statement(int loops) {
        ++m_statements;
        switch (draw(8)) {
        case 0:
            add(anyVariable() + " = " + value());
            break;
        case 1:
            add("r = " + expression());
            break;
        case 2:
            add(anyVariable() + "." + member() + " = " + argument());
            break;
        case 3:
            add("foreach (key, item in " + anyVariable() + ") { r = item; if (++steps > 50) break }");
            break;
        case 4:
            add("std[\"yield\"]()");
            break;
        case 5:
            add("std.async(" + argument() + ", " + argument() + ")");
            break;
        case 6:
            if (loops < kMaxLoops) return loop(loops);
            [[fallthrough]];
        default:
            add("r = " + call());
            break;
        }
    }

    void loop(int loops) {
        std::string counter = "i" + std::to_string(m_statements);
        m_text += "for (local " + counter + " = 0; " + counter + " < 4; " + counter + "++) {\n";
        for (unsigned i = 0, count = 1 + draw(3); i < count; ++i) statement(loops + 1);
        m_text += "}\n";
    }

    void add(const std::string& text) {
        m_text += "try { local steps = 0; " + text + " } catch (e) { r = e }\n";
    }

    static constexpr std::array kTextFunctions = std::to_array<const char*>(
        {"contains", "begins_with", "ends_with", "replace_all", "utf8_lowercase", "utf8_uppercase",
         "utf8_escape_filepath", "trim_spaces", "compute_hash", "format", "split", "strip", "escape"});

    std::string_view m_bytes;
    std::string m_text;
    int m_statements = 0;
};

/// A machine that runs one input after another while they leave it unchanged, because opening a machine takes
/// most of the time of an input.
class Machine {
public:
    Machine() {
        vm.executeString("foreach (name in [\"Rect\", \"IVec4\", \"GregorianDate\"]) import(\"qel.\" + name)",
                         "setup");
        m_sizes = sizes();
    }

    void run(const std::string& program) {
        vm.executeString(program.c_str(), "root");
        vm.createThread(vm.newClosure(program, "thread"));
        for (int pass = 0; pass < 12; ++pass) vm.processEvents();
    }

    /// Returns true if the library is as the first input found it. Threads that never end may be left.
    bool isAsNew() { return sizes() == m_sizes && ++m_inputs < kInputs; }

    qelSq::VM vm;

private:
    /// The number of inputs for one machine, so that a finding depends on few earlier inputs.
    static constexpr int kInputs = 32;

    std::vector<SQInteger> sizes() {
        qelSq::Object root = vm.getRootTable();
        std::vector<SQInteger> all{root.getSize()};
        for (const char* table : {"std", "string", "math", "qel", "util", "global"})
            all.push_back(root.rawget(table).getSize());
        return all;
    }

    std::vector<SQInteger> m_sizes;
    int m_inputs = 0;
};

} // namespace

extern "C" const char* __lsan_default_suppressions();
// When a statement does not compile, the machine's compiler jumps out of it past its own destructors. The
// machine's standard library leaks a blob's memory when a script calls the constructor again.
extern "C" const char* __lsan_default_suppressions() {
    return "leak:libsquirrel3.so\nleak:libsqstdlib3.so\n";
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, size_t size) {
    qel::logging::setConsoleWriter([](const qel::logging::ConsoleLine&) {});
    static auto machine = std::make_unique<Machine>();
    std::string_view input(reinterpret_cast<const char*>(data), size);
    qelSq::VM& vm = machine->vm;
    SQInteger top = sq_gettop(vm.getSquirrelVM());
    vm.compileSource(input.data(), input.size(), "input");
    machine->run(ProgramWriter(input).write());
    require(sq_gettop(vm.getSquirrelVM()) == top);
    require(vm.executeString("return 1 + 1", "next"));
    if (!machine->isAsNew()) {
        machine.reset(); // there may only be one machine at a time
        machine = std::make_unique<Machine>();
    }
    return 0;
}
