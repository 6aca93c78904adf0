#include "script_fixture.h"

#include <sstream>

namespace {

using qel::test::LogCapture;

class ScriptVM : public qel::test::ScriptFixture {
protected:
    // The logged text begins with @p start and has lines that begin with each of @p parts.
    void expectLines(LogCapture& capture, const char* start, std::initializer_list<const char*> parts) {
        const std::string text = capture.take().at(0).text;
        EXPECT_TRUE(text.starts_with(start)) << text;
        for (const char* part : parts) {
            EXPECT_NE(text.find(std::string("\n") + part), std::string::npos) << part << "\nin\n" << text;
        }
    }
};

TEST_F(ScriptVM, ACompileErrorIsLoggedRememberedAndFalse) {
    LogCapture capture;
    EXPECT_FALSE(vm().executeString("local a = 1\nlocal = 2", "some.sq"));
    EXPECT_EQ(vm().getLastCompilerSource(), "some.sq");
    EXPECT_EQ(vm().getLastCompilerLine(), 2);
    capture.expect(3, "[SQ.COMPILER] some.sq(2): " + vm().getLastCompilerDescription());
    EXPECT_TRUE(run("local a = 1"));
}

TEST_F(ScriptVM, ARunTimeErrorIsLoggedWithTheCallStackAndItsLocals) {
    expectError("throw {}", "unknown");
    LogCapture capture;
    EXPECT_FALSE(run("function f(n) { local t = \"x\"; throw \"boom\" }\nf(5)"));
    EXPECT_EQ(vm().getLastError(), "boom");
    expectLines(capture, "[SQ.INTERPRETER] boom\nCALLSTACK:\n* f() [test:1]\n",
                {"   this=TABLE ", "   n=5 INTEGER\n", "   t=\"x\" STRING\n", "* main() [test:2]\n"});
}

TEST_F(ScriptVM, ACallStackShowsTwentyLevels) {
    LogCapture capture;
    run("function f(n) { if (n == 0) throw \"deep\"; f(n - 1) } f(40)");
    std::istringstream text(capture.take().at(0).text);
    int levels = 0;
    for (std::string line; std::getline(text, line);) levels += line.starts_with("* ");
    EXPECT_EQ(levels, 20);
}

TEST_F(ScriptVM, EveryTypeOfLocalHasItsForm) {
    LogCapture capture;
    run(R"(function f() {
        local aNull = null, aFloat = 1.5, aBool = true, aClosure = function(a) {}, aClass = class {}
        local aText = "0123456789012345678901234567890123456789tail", anArray = [], anInstance = aClass()
        std.dbg_showcontext()
    } f())");
    expectLines(capture, "[SQ] CALLSTACK:\n* f() [test:4]\n",
                {"   aNull=NULL\n", "   aFloat=1.5 FLOAT\n", "   aBool=true BOOL\n",
                 "   aClosure=CLOSURE <unnamed> 2 args 0 freevars\n", "   aClass=CLASS", "   anArray=ARRAY ",
                 "   anInstance=INSTANCE ", "   aText=\"01234567890123456 ... 7890123456789tail\" STRING\n"});
}

TEST_F(ScriptVM, ConstructMakesAnInstanceByNameOrLogsAndGivesNull) {
    EXPECT_EQ(vm().construct("qel.Rect").asInstance().getClass().getNativeClassName(), "Rect");
    LogCapture capture;
    EXPECT_TRUE(vm().construct("NoSuchClass").isNull());
    capture.expect(3, "no import found for <NoSuchClass>");
    EXPECT_TRUE(
        capture.take().at(0).text.starts_with("[SQ.INTERPRETER] the index 'NoSuchClass' does not exist"));
}

TEST_F(ScriptVM, LongPrintedTextsAreLoggedWhole) {
    LogCapture capture;
    run("local s = \"0123456789abcdef\"; for (local i = 0; i < 14; i++) s += s; print(s + \"end\")");
    EXPECT_EQ(capture.take().at(0).text.size(), 16u * 16384 + 3);
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

TEST_F(ScriptVM, AMissingImportIsLoggedOnceAndAMissingIncludeEachTime) {
    LogCapture capture;
    EXPECT_TRUE(run("import(\"missing\"); import(\"missing\")"));
    EXPECT_TRUE(run("include(\"/no/such.sq\"); include(\"/no/such.sq\")"));
    capture.expect(3, "no import found for <missing>");
    capture.expect(3, "can't include </no/such.sq>");
    capture.expect(3, "can't include </no/such.sq>");
}

} // namespace
