#include "script_fixture.h"

#include <qel/foundation/base/buffer.h>

#include <gmock/gmock.h>

#include <sstream>
#include <vector>

namespace {

using namespace testing;
using qel::test::LogCapture;
using qelSq::Object;
using qelSq::VM;

std::string repeat(const std::string& text, int count) {
    std::string all;
    for (int i = 0; i < count; ++i) all += text;
    return all;
}

/// Splits a text at each "$".
std::vector<std::string> piecesOf(const std::string& text) {
    std::vector<std::string> pieces;
    std::istringstream stream(text);
    for (std::string piece; std::getline(stream, piece, '$');) pieces.push_back(piece);
    return pieces;
}

class ScriptLimits : public qel::test::ScriptFixture {
protected:
    bool compiles(const std::string& source) {
        return vm().compileSource(source.data(), source.size(), "test");
    }

    void expectTooDeep(const std::string& source) {
        LogCapture capture;
        EXPECT_FALSE(compiles(source)) << source.substr(0, 40);
        const auto lines = capture.take();
        ASSERT_EQ(lines.size(), 1u) << source.substr(0, 40);
        EXPECT_THAT(lines[0].text, EndsWith("): source is nested too deeply")) << source.substr(0, 40);
    }
};

// --- sources -------------------------------------------------------------------------------------------

TEST_F(ScriptLimits, ThousandLevelsOfAnyKindCompile) {
    struct Nest {
        const char* open;
        const char* inner;
        const char* close;
    };
    constexpr Nest kNests[] = {
        {"(", "1", ")"},
        {"!", "1", ""},
        {"typeof ", "1", ""},
        {"@() ", "1", ""},
        {"function() { return ", "1", "}"},
        {"class extends ", "{}", " {}"},
        {"class { function f() { return ", "1", "} }"},
    };
    for (const auto& [open, inner, close] : kNests) {
        const std::string nest = repeat(open, 1000) + inner + repeat(close, 1000);
        EXPECT_TRUE(compiles("local x = " + nest)) << open;
    }
}

TEST_F(ScriptLimits, ClosureOfAThousandLevelsIsUsable) {
    EXPECT_TRUE(run("::deep <- " + repeat("@() ", 1000) + "1"));
    EXPECT_TRUE(run("local call = deep; while (typeof call == \"function\") call = call()"));
    qel::Buffer bytecode;
    EXPECT_TRUE(evaluate("deep").asClosure().getBytecode(bytecode));
    EXPECT_TRUE(run("delete ::result; delete ::deep; collectgarbage()"));
}

TEST_F(ScriptLimits, CompilerRecursionIsLimited) {
    for (const std::string& expression :
         piecesOf("($!$~$- $--$typeof $clone $resume $delete $@()$@(a=$@(...) $@() --$class extends $"
                  "class { function f() { x = $function() { return "))
        expectTooDeep("local x = " + repeat(expression, 300'000));
    for (const std::string& statement : piecesOf("function f() {$if (1) $while (1) $for (;;) $do $try $"
                                                 "if (1) {} else $try {} catch (e) $;{"))
        expectTooDeep(repeat(statement, 300'000));
}

TEST_F(ScriptLimits, HostileSourcesOfMegabytesAreErrors) {
    for (const std::string& piece :
         piecesOf("x=[$x={$x={a=$1?2:$1||$1&&$x=$x<-$x+=$switch(1){case 1:$x=class { a = $x=a[$a($a.b($"
                  "x=1+($x=a = {b = [$a?($rawcall($class A </ a = $foreach (a in b) ")) {
        LogCapture capture;
        EXPECT_FALSE(compiles(repeat(piece, 300'000))) << piece;
        EXPECT_EQ(capture.take().size(), 1u) << piece;
    }
}

TEST_F(ScriptLimits, FlatSourcesOfAnyLengthCompile) {
    for (const std::string& source :
         {repeat("::a <- 1\n", 1000), "function f(a) {\n" + repeat("if (a) return\n", 999) + "}",
          "local x = [" + repeat("@(a) a + 1,", 999) + "]", repeat("x <- -1;", 5'000),
          "local x = {" + repeat("function f() {},", 5'000) + "}"})
        EXPECT_TRUE(compiles(source)) << source.substr(0, 40);
    for (const std::string& piece : piecesOf(
             "if (a) { b() } else { c() }$while (a) { b() }$do { a() } while (b);$throw a$x = a + b - c - d$"
             "try { a() } catch (e) { b() }$function f(a, b = 1) { return a || b }$a.b.c(1)(2)[3]++$"
             "class A extends B { x = 1; function f() { return -1 } }$s <- \"(((\" // (((\n$"
             "switch (a) { case 1: b(); break; default: c() }$foreach (i, v in a) { b[i] <- v }$"
             "if (a) b()\nelse c()$t <- { a = function() { return [1, 2] }, b = !d }"))
        EXPECT_TRUE(compiles(repeat(piece + "\n", 5'000))) << piece;
}

TEST_F(ScriptLimits, LineOfTheEarlyEndIsReported) {
    LogCapture capture;
    EXPECT_FALSE(compiles("local x = 1\n\nlocal y = " + repeat("(", 300'000)));
    capture.expect(3, "[SQ.COMPILER] test(3): source is nested too deeply");
    EXPECT_EQ(vm().getLastCompilerDescription(), "source is nested too deeply");
    EXPECT_FALSE(compiles("local = 1"));
    EXPECT_THAT(capture.take().at(0).text, StartsWith("[SQ.COMPILER] test(1): expected "));
}

TEST_F(ScriptLimits, CompileStringHasTheSameLimit) {
    vm().getRootTable().set("deep", Object::of(repeat("(", 300'000)));
    expectError("compilestring(deep)", "source is nested too deeply");
    EXPECT_EQ(text("compilestring(\"return 1.5\")()"), "1.5");
}

// --- recursion -----------------------------------------------------------------------------------------

TEST_F(ScriptLimits, RecursionThroughNativeCodeEndsWithAnError) {
    for (const char* source : {"function f(n) { [1, 2].sort(function(a, b) { f(n + 1); return 0 }) } f(0)",
                               "class T { function _tostring() { return \"\" + this } } print(T())",
                               "class G { function _get(k) { return this.x } } G().y"})
        expectError(source, "Native stack overflow");
}

TEST_F(ScriptLimits, RecursionThroughCoroutinesEndsWithAnError) {
    LogCapture capture;
    EXPECT_FALSE(run("function f() { local t = newthread(f); t.call() } f()"));
    EXPECT_TRUE(capture.take().at(0).text.starts_with("[SQ.INTERPRETER] too many nested threads\n"));
    expectError("newthread(function() { suspend(1); throw \"inner\" }).call.call(5)",
                "parameter 0 has an invalid type 'integer' ; expected: 'thread'");
}

TEST_F(ScriptLimits, RecursionThroughExecuteStringEndsWithAnError) {
    static int refused = 0;
    auto nested = [](HSQUIRRELVM machine) -> SQInteger {
        if (!VM::from(machine)->executeString("nested()", "nested")) ++refused;
        return 0;
    };
    vm().getRootTable().asTable().squirrelFunction("nested", nested);
    EXPECT_TRUE(run("nested()"));
    EXPECT_EQ(refused, 1);
}

// --- sizes ---------------------------------------------------------------------------------------------

TEST_F(ScriptLimits, ImpossibleSizesAreErrors) {
    for (const char* source : {"array(-1)", "array(1 << 40)", "[].resize(1 << 40)", "[].resize(-5)",
                               "std.blob(1 << 40)", "std.blob(-5)", "std.blob(4).resize(1 << 40)",
                               "std.blob(4).resize(-5)", "std.blob(4).readblob(1 << 40)"})
        expectError(source, "size out of range");
}

TEST_F(ScriptLimits, ManyArgumentsAndDeepContainersWork) {
    EXPECT_EQ(text("(function(...) { return vargv.len() }).acall(array(50000, 1))"), "49999");
    EXPECT_EQ(text("(function() { local t = newthread(function(...) { return vargv.len() })\n"
                   "local all = array(3000, 1); all[0] = t; return t.call.acall(all) })()"),
              "2999");
    EXPECT_TRUE(run("local x = null; for (local i = 0; i < 20000; i++) x = [x]; x = null"));
}

} // namespace
