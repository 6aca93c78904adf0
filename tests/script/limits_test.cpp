#include "script_fixture.h"

#include <qel/script/source_nesting_p.h>

#include <sstream>

namespace {

using qel::test::LogCapture;
using qelSq::VM;

std::string repeat(const std::string& text, int count) {
    std::string all;
    for (int i = 0; i < count; ++i) all += text;
    return all;
}

class ScriptLimits : public qel::test::ScriptFixture {
protected:
    void expectTooDeep(const std::string& source) {
        LogCapture capture;
        EXPECT_FALSE(vm().compileSource(source.data(), source.size(), "test"));
        EXPECT_TRUE(capture.take().at(0).text.ends_with("): source is nested too deep"));
    }
};

TEST_F(ScriptLimits, NestingIsBoundedAtTheLimit) {
    std::string fits = repeat("(", VM::kMaxSourceNesting - 1) + "1" + repeat(")", VM::kMaxSourceNesting - 1);
    EXPECT_TRUE(run("local x = " + fits));
    expectTooDeep("local x = (" + fits + ")");
    expectError("compilestring(\"" + repeat("(", 1 + VM::kMaxSourceNesting) + "\")",
                "source is nested too deep");
    EXPECT_EQ(qelSq::internal::findNestingExcess("/*\n*/ @\"\n\" \n ((", 1).line, 4);
}

TEST_F(ScriptLimits, EverythingThatMakesTheCompilerCallItselfCounts) {
    std::istringstream pieces(
        "($[${${a=$!$~$- $--$typeof $clone $resume $delete $1?2:$1||$1&&$x=$x<-$x+=$if(1) "
        "$if(1) {} else $for(;;) $while(0) $foreach(a in b) $do $try $try {} catch(e) "
        "$switch(1){case 1:$function f() {$function() return $@() $@(a=$class { a = "
        "$class extends $class { function f() { x = $function() return 1, $!\n$if(1)\n"
        "$@()\n${ /* ( */$( \"\\\")\" + ");
    for (std::string piece; std::getline(pieces, piece, '$');) {
        SCOPED_TRACE(piece);
        expectTooDeep("local x = " + repeat(piece, 300'000));
    }
}

TEST_F(ScriptLimits, LongHonestSourcesPass) {
    std::istringstream pieces(
        "x <- 1$f(!a)$if (a) { b() } else { c() }$while (a) { b() }$do { a() } while (b);"
        "$try { a() } catch (e) { b() }$function f(a, b = 1) { return a || b }"
        "$class A extends B { x = 1; function f() { return -1 } }$local l = @(a, b) a ? b : -b"
        "$switch (a) { case 1: b(); break; default: c() }$t <- { a = function() { return [1, 2] }, b = !d }"
        "$local s = \"(((\" // (((\n$foreach (i, v in a) { b[i] <- v }$a.b.c(1)(2)[3]++$throw a; yield b"
        "$x = a + b - c - d$for (local i = 0; i < 3; i++) { x() }$local v = @\"((\"\"((\"$enum E { A, B }"
        "$base.constructor(1)$if (a) b()\nelse c()");
    std::vector<std::string> sources = {repeat("x <- -1;", 5'000), "[" + repeat("-1, ", 5'000) + "]",
                                        "{" + repeat("f = function() {},", 5'000) + "}"};
    for (std::string piece; std::getline(pieces, piece, '$');) sources.push_back(repeat(piece + "\n", 5'000));
    for (const std::string& source : sources)
        EXPECT_FALSE(qelSq::internal::findNestingExcess(source, 20).found) << source.substr(0, 99);
}

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

TEST_F(ScriptLimits, RecursionThroughExecutedTextsEndsWithAnError) {
    static int refused = 0;
    auto nested = [](HSQUIRRELVM machine) -> SQInteger {
        if (!VM::from(machine)->executeString("nested()", "nested")) ++refused;
        return 0;
    };
    vm().getRootTable().asTable().squirrelFunction("nested", nested);
    EXPECT_TRUE(run("nested()"));
    EXPECT_EQ(refused, 1);
}

TEST_F(ScriptLimits, ImpossibleSizesAreErrors) {
    for (const char* source : {"array(-1)", "array(1 << 40)", "[].resize(1 << 40)", "[].resize(-5)",
                               "std.blob(1 << 40)", "std.blob(-5)", "std.blob(4).resize(1 << 40)",
                               "std.blob(4).resize(-5)", "std.blob(4).readblob(1 << 40)"})
        expectError(source, "size out of range");
}

TEST_F(ScriptLimits, ManyArgumentsAndDeepContainersAreCarried) {
    EXPECT_EQ(text("(function(...) { return vargv.len() }).acall(array(50000, 1))"), "49999");
    EXPECT_EQ(text("(function() { local t = newthread(function(...) { return vargv.len() })\n"
                   "local all = array(3000, 1); all[0] = t; return t.call.acall(all) })()"),
              "2999");
    EXPECT_TRUE(run("local x = null; for (local i = 0; i < 20000; i++) x = [x]; x = null"));
}

} // namespace
