#include "script_fixture.h"

#include <tests/support/log_capture.h>

namespace {

using qel::test::LogCapture;

class ScriptVM : public qel::test::ScriptFixture {};

TEST_F(ScriptVM, ACompileErrorIsLoggedRememberedAndFalse) {
    LogCapture capture;
    EXPECT_FALSE(vm().executeString("local a = 1\nlocal = 2", "some.sq"));
    EXPECT_EQ(vm().getLastCompilerSource(), "some.sq");
    EXPECT_EQ(vm().getLastCompilerLine(), 2);
    capture.expect(3, "[SQ.COMPILER] some.sq(2): " + vm().getLastCompilerDescription());
    EXPECT_TRUE(run("local a = 1"));
}

TEST_F(ScriptVM, CompilingAloneRunsNothing) {
    EXPECT_TRUE(vm().compileSource("throw 1", 7, "test"));
    LogCapture capture;
    EXPECT_FALSE(vm().compileSource("throw (", 7, "test"));
    EXPECT_EQ(capture.take().size(), 1u);
}

TEST_F(ScriptVM, ARunTimeErrorIsLoggedWithTheCallStackAndItsLocals) {
    LogCapture capture;
    EXPECT_FALSE(run("function f(n) { local t = \"x\"; throw \"boom\" }\nf(5)"));
    std::string text = capture.take().at(0).text;
    EXPECT_EQ(text.find("[SQ.INTERPRETER] boom\nCALLSTACK:\n* f() [test:1]\n"), 0u) << text;
    EXPECT_NE(text.find("\n   this=TABLE "), std::string::npos) << text;
    EXPECT_NE(text.find("\n   n=5 INTEGER\n"), std::string::npos) << text;
    EXPECT_NE(text.find("\n   t=\"x\" STRING\n"), std::string::npos) << text;
    EXPECT_NE(text.find("\n* main() [test:2]\n"), std::string::npos) << text;
}

TEST_F(ScriptVM, AnErrorThatIsNoTextIsUnknown) {
    expectError("throw {}", "unknown");
}

TEST_F(ScriptVM, ACallStackShowsTwentyLevels) {
    LogCapture capture;
    run("function f(n) { if (n == 0) throw \"deep\"; f(n - 1) } f(40)");
    std::string text = capture.take().at(0).text;
    size_t levels = 0;
    for (size_t at = text.find("\n* "); at != std::string::npos; at = text.find("\n* ", at + 1)) ++levels;
    EXPECT_EQ(levels, 20u);
}

TEST_F(ScriptVM, EveryTypeOfLocalHasItsForm) {
    LogCapture capture;
    run(R"(function f() {
        local aNull = null, aFloat = 1.5, aBool = true, aClosure = function(a) {}, aClass = class {}
        local aText = "0123456789012345678901234567890123456789tail", anArray = [], anInstance = aClass()
        std.dbg_showcontext()
    } f())");
    std::string text = capture.take().at(0).text;
    for (const char* line : {"   aNull=NULL\n", "   aFloat=1.5 FLOAT\n", "   aBool=true BOOL\n",
                             "   aClosure=CLOSURE <unnamed> 2 args 0 freevars\n", "   aClass=CLASS",
                             "   anArray=ARRAY ", "   anInstance=INSTANCE "}) {
        EXPECT_NE(text.find(line), std::string::npos) << line << "\nin\n" << text;
    }
    EXPECT_EQ(text.find("[SQ] CALLSTACK:\n* f() [test:4]\n"), 0u) << text;
    EXPECT_NE(text.find("\" STRING\n"), std::string::npos) << text;
    EXPECT_EQ(text.find("0123456789012345678901234567890123456789tail"), std::string::npos) << text;
}

TEST_F(ScriptVM, LongPrintedTextsAreLoggedWhole) {
    LogCapture capture;
    run("local s = \"0123456789abcdef\"; for (local i = 0; i < 14; i++) s += s; print(s + \"end\"); "
        "error(\"e\")");
    auto lines = capture.take();
    ASSERT_EQ(lines.size(), 2u);
    EXPECT_EQ(lines[0].level, 1);
    EXPECT_EQ(lines[0].text.size(), 16u * 16384 + 3);
    EXPECT_EQ(lines[1].level, 3);
}

TEST_F(ScriptVM, TheLastErrorIsKeptAsText) {
    EXPECT_EQ(vm().getLastError(), "");
    expectError("throw \"the reason\"", "the reason");
    EXPECT_EQ(vm().getLastError(), "the reason");
}

TEST_F(ScriptVM, ConstructMakesAnInstanceByName) {
    EXPECT_TRUE(vm().construct("qel.Rect").isNativeInstance());
    EXPECT_EQ(vm().construct("qel.Rect").asInstance().getClass().getNativeClassName(), "Rect");
}

TEST_F(ScriptVM, ConstructOfAnUnknownClassLogsAndGivesNull) {
    LogCapture capture;
    EXPECT_TRUE(vm().construct("NoSuchClass").isNull());
    auto lines = capture.take();
    ASSERT_EQ(lines.size(), 2u);
    EXPECT_EQ(lines[0].text, "no import found for <NoSuchClass>");
    EXPECT_EQ(lines[1].text.find("[SQ.INTERPRETER] the index 'NoSuchClass' does not exist"), 0u);
}

// --- imports -------------------------------------------------------------------------------------------

void countImport(qelSq::VM* vm, const char* argument) {
    std::string source = std::string("::imports <- (\"imports\" in getroottable() ? ::imports : \"\") + \"") +
                         argument + ";\"";
    vm->executeString(source.c_str(), "callback");
}

TEST_F(ScriptVM, AnImportCallbackRunsOnceWithItsText) {
    vm().setImportCallback("lib", &countImport, "replaced");
    vm().getLibrary().setImportCallback("lib", &countImport, "argument");
    vm().setImportCallback("empty", &countImport, nullptr);
    EXPECT_TRUE(run("import(\"lib\"); import(\"lib\"); import(\"empty\")"));
    EXPECT_EQ(evaluate("imports").asString(), "argument;;");
}

TEST_F(ScriptVM, AMissingImportIsLoggedOnce) {
    LogCapture capture;
    EXPECT_TRUE(run("import(\"missing\"); import(\"missing\")"));
    capture.expect(3, "no import found for <missing>");
    EXPECT_TRUE(capture.take().empty());
}

TEST_F(ScriptVM, AMissingIncludeIsLoggedEachTime) {
    LogCapture capture;
    EXPECT_TRUE(run("include(\"/no/such.sq\"); include(\"/no/such.sq\")"));
    capture.expect(3, "can't include </no/such.sq>");
    capture.expect(3, "can't include </no/such.sq>");
}

} // namespace
