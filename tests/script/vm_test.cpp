#include "script_fixture.h"

namespace {

using qel::test::LogCapture;

using ScriptVM = qel::test::ScriptFixture;

TEST_F(ScriptVM, ACompileErrorIsLoggedRememberedAndFalse) {
    LogCapture capture;
    EXPECT_FALSE(vm().executeString("local a = 1\nlocal = 2", "some.sq"));
    EXPECT_EQ(vm().getLastCompilerSource() + std::to_string(vm().getLastCompilerLine()), "some.sq2");
    capture.expect(3, "[SQ.COMPILER] some.sq(2): " + vm().getLastCompilerDescription());
}

TEST_F(ScriptVM, ARunTimeErrorIsLoggedWithTheCallStackAndItsLocals) {
    expectError("throw {}", "unknown");
    LogCapture capture;
    EXPECT_FALSE(run(R"(function f(n) {
        local aNull = null, aFloat = 1.5, aBool = true, aClosure = function(a) {}, aClass = class {}
        local aText = "0123456789012345678901234567890123456789tail", anArray = [], anInstance = aClass()
        throw "boom"
    } f(5))"));
    EXPECT_EQ(vm().getLastError(), "boom");
    const std::string text = capture.take().at(0).text;
    EXPECT_TRUE(text.starts_with("[SQ.INTERPRETER] boom\nCALLSTACK:\n* f() [test:4]\n")) << text;
    for (const char* line :
         {"this=TABLE ", "n=5 INTEGER\n", "aNull=NULL\n", "aFloat=1.5 FLOAT\n", "aBool=true BOOL\n",
          "aClosure=CLOSURE <unnamed> 2 args 0 freevars\n", "aClass=CLASS", "anArray=ARRAY ",
          "anInstance=INSTANCE ", "aText=\"01234567890123456 ... 7890123456789tail\" STRING\n"})
        EXPECT_NE(text.find(std::string("\n   ") + line), std::string::npos) << line << "\nin\n" << text;
    EXPECT_NE(text.find("\n* main() [test:5]\n"), std::string::npos) << text;
}

TEST_F(ScriptVM, ACallStackShowsTwentyLevels) {
    LogCapture capture;
    run("function f(n) { if (n == 0) throw \"deep\"; f(n - 1) } f(40)");
    const std::string text = capture.take().at(0).text;
    int levels = 0;
    for (size_t at = 0; (at = text.find("\n* ", at)) != std::string::npos; ++at) ++levels;
    EXPECT_EQ(levels, 20);
}

TEST_F(ScriptVM, ConstructMakesAnInstanceByNameOrLogsAndGivesNull) {
    EXPECT_EQ(vm().construct("qel.Rect").asInstance().getClass().getNativeClassName(), "Rect");
    LogCapture capture;
    EXPECT_TRUE(vm().construct("NoSuchClass").isNull());
    EXPECT_EQ(capture.take().size(), 2u);
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
