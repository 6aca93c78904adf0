#include "script_fixture.h"

#include <qel/script/source_nesting_p.h>

namespace {

using qel::test::LogCapture;
using qelSq::VM;

std::string repeat(const std::string& text, int count) {
    std::string all;
    for (int i = 0; i < count; ++i) all += text;
    return all;
}

int g_refused = 0;

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
}

TEST_F(ScriptLimits, EverythingThatMakesTheCompilerCallItselfCounts) {
    for (const char* piece : {"(",
                              "[",
                              "{",
                              "{a=",
                              "!",
                              "~",
                              "- ",
                              "--",
                              "typeof ",
                              "clone ",
                              "resume ",
                              "delete ",
                              "1?2:",
                              "1||",
                              "1&&",
                              "x=",
                              "x<-",
                              "x+=",
                              "if(1) ",
                              "if(1) {} else ",
                              "for(;;) ",
                              "while(0) ",
                              "foreach(a in b) ",
                              "do ",
                              "try ",
                              "try {} catch(e) ",
                              "switch(1){case 1:",
                              "function f() {",
                              "function() return ",
                              "@() ",
                              "@(a=",
                              "class { a = ",
                              "class extends ",
                              "class { function f() { x = ",
                              "function() return 1, ",
                              "!\n",
                              "if(1)\n",
                              "@()\n",
                              "{ /* ( */",
                              "( \"\\\")\" + "}) {
        expectTooDeep("local x = " + repeat(piece, 300'000));
    }
}

TEST_F(ScriptLimits, LongHonestSourcesPass) {
    for (const char* piece : {"x <- 1\n",
                              "x <- -1;",
                              "f(!a)\n",
                              "if (a) { b() } else { c() }\n",
                              "if (a) b()\nelse c()\n",
                              "while (a) { b() }\n",
                              "do { a() } while (b);",
                              "try { a() } catch (e) { b() }\n",
                              "function f(a, b = 1) { return a || b }\n",
                              "class A extends B { x = 1; function f() { return -1 } }\n",
                              "local l = @(a, b) a ? b : -b\n",
                              "switch (a) { case 1: b(); break; default: c() }\n",
                              "t <- { a = function() { return [1, 2] }, b = @() 1, c = !d }\n",
                              "local s = \"(((\" // (((\n",
                              "foreach (i, v in a) { b[i] <- v }\n",
                              "a.b.c(1)(2)[3]++\n",
                              "throw a; yield b\n",
                              "x = a + b - c - d\n",
                              "for (local i = 0; i < 3; i++) { x() }\n",
                              "local v = @\"((\"\"((\"\n",
                              "enum E { A, B }\n",
                              "base.constructor(1)\n"}) {
        std::string source = repeat(piece, 5'000);
        EXPECT_FALSE(qelSq::internal::findNestingExcess(source, 20).found) << piece;
    }
    EXPECT_FALSE(qelSq::internal::findNestingExcess("[" + repeat("-1, ", 5'000) + "]", 20).found);
    EXPECT_FALSE(
        qelSq::internal::findNestingExcess("{" + repeat("f = function() {},", 5'000) + "}", 20).found);
}

TEST_F(ScriptLimits, TheLineOfTheExcessIsTold) {
    EXPECT_EQ(qelSq::internal::findNestingExcess("/*\n*/ @\"\n\" \n ((", 1).line, 4);
}

TEST_F(ScriptLimits, TextsCompiledByScriptsAreBoundedToo) {
    expectError("compilestring(\"" + repeat("(", VM::kMaxSourceNesting + 1) + "\")",
                "source is nested too deep");
    EXPECT_EQ(evaluate("compilestring(\"return 7\", \"name\")()").asInteger(), 7);
    LogCapture capture;
    EXPECT_FALSE(run("compilestring(\"return (\")"));
    EXPECT_EQ(capture.take().size(), 1u);
}

TEST_F(ScriptLimits, RecursionThroughNativeCodeEndsWithAnError) {
    expectError("function f(n) { [1, 2].sort(function(a, b) { f(n + 1); return 0 }) } f(0)",
                "Native stack overflow");
    expectError("class T { function _tostring() { return \"\" + this } } print(T())",
                "Native stack overflow");
    expectError("class G { function _get(k) { return this.x } } G().y", "Native stack overflow");
    EXPECT_TRUE(run("return 1"));
}

TEST_F(ScriptLimits, RecursionThroughCoroutinesEndsWithAnError) {
    {
        LogCapture capture;
        EXPECT_FALSE(run("function f() { local t = newthread(f); t.call() } f()"));
        EXPECT_TRUE(capture.take().at(0).text.starts_with("[SQ.INTERPRETER] too many nested threads\n"));
    }
    EXPECT_EQ(
        evaluate("(function() { local t = newthread(@(a, b) a + b); return t.call(1, 2) })()").asInteger(),
        3);
    expectError("newthread(function() { suspend(1); throw \"inner\" }).call.call(5)",
                "parameter 0 has an invalid type 'integer' ; expected: 'thread'");
}

TEST_F(ScriptLimits, RecursionThroughExecutedTextsEndsWithAnError) {
    auto nested = [](HSQUIRRELVM machine) -> SQInteger {
        if (!VM::from(machine)->executeString("nested()", "nested")) ++g_refused;
        return 0;
    };
    vm().getRootTable().asTable().squirrelFunction("nested", nested);
    g_refused = 0;
    EXPECT_TRUE(run("nested()"));
    EXPECT_EQ(g_refused, 1);
    EXPECT_TRUE(run("return 1"));
}

TEST_F(ScriptLimits, ImpossibleSizesAreErrors) {
    for (const char* source : {"array(-1)", "array(1 << 40)", "[].resize(1 << 40)", "[].resize(-5)",
                               "std.blob(1 << 40)", "std.blob(-5)", "std.blob(4).resize(1 << 40)",
                               "std.blob(4).resize(-5)", "std.blob(4).readblob(1 << 40)"}) {
        expectError(source, "size out of range");
    }
    EXPECT_EQ(evaluate("array(2, 7)[1]").asInteger(), 7);
    EXPECT_EQ(evaluate("std.blob(4).len()").asInteger(), 4);
    EXPECT_EQ(evaluate("(function() { local a = [1]; a.resize(3, 5); return a[2] })()").asInteger(), 5);
}

TEST_F(ScriptLimits, AnArrayOfArgumentsMayBeLongerThanTheStack) {
    EXPECT_EQ(evaluate("(function(...) { return vargv.len() }).acall(array(50000, 1))").asInteger(), 49999);
    EXPECT_EQ(evaluate("(function() { local t = newthread(function(...) { return vargv.len() })\n"
                       "local all = array(3000, 1); all[0] = t; return t.call.acall(all) })()")
                  .asInteger(),
              2999);
}

TEST_F(ScriptLimits, TwentyThousandNestedContainersAreReleased) {
    EXPECT_TRUE(run("local x = null; for (local i = 0; i < 20000; i++) x = [x]; x = null"));
}

} // namespace
