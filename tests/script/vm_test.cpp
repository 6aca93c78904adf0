#include "script_fixture.h"

#include <tests/support/scratch_folder.h>

namespace {

using qel::test::LogCapture;

class ScriptVM : public qel::test::ScriptFixture {
protected:
    void SetUp() override {
        ScriptFixture::SetUp();
        vm().getRootTable().set("folder", qelSq::Object::of(folder.path()));
        run("::pause <- std[\"yield\"]; ::imports <- \"\"; ::runs <- 0");
    }

    qel::test::ScratchFolder folder;
};

TEST_F(ScriptVM, CompileErrorIsLoggedAndStored) {
    LogCapture capture;
    EXPECT_FALSE(vm().executeString("local a = 1\nlocal = 2", "some.sq"));
    EXPECT_EQ(vm().getLastCompilerSource(), "some.sq");
    EXPECT_EQ(vm().getLastCompilerLine(), 2);
    capture.expect(3, "[SQ.COMPILER] some.sq(2): " + vm().getLastCompilerDescription());
}

TEST_F(ScriptVM, RunTimeErrorIsLoggedWithCallStackAndLocals) {
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

TEST_F(ScriptVM, CallStackShowsTwentyLevels) {
    LogCapture capture;
    run("function f(n) { if (n == 0) throw \"deep\"; f(n - 1) } f(40)");
    const std::string text = capture.take().at(0).text;
    int levels = 0;
    for (size_t at = 0; (at = text.find("\n* ", at)) != std::string::npos; ++at) ++levels;
    EXPECT_EQ(levels, 20);
}

TEST_F(ScriptVM, ConstructReturnsAnInstanceOrNull) {
    EXPECT_EQ(vm().construct("qel.Rect").asInstance().getClass().getNativeClassName(), "Rect");
    LogCapture capture;
    EXPECT_TRUE(vm().construct("NoSuchClass").isNull());
    EXPECT_EQ(capture.take().size(), 2u);
}

TEST_F(ScriptVM, LongPrintedStringsAreLoggedWhole) {
    LogCapture capture;
    run("local s = \"0123456789abcdef\"; for (local i = 0; i < 14; i++) s += s; print(s + \"end\")");
    EXPECT_EQ(capture.take().at(0).text.size(), 16u * 16384 + 3);
}

TEST_F(ScriptVM, LogFunctionsSelectLevelAndAudience) {
    LogCapture capture;
    EXPECT_TRUE(
        run("foreach (f in [\"verbose\", \"info\", \"support\", \"warn\", \"error\", \"info_customer\","
            "\"warn_customer\", \"error_customer\"]) std[f](f)"));
    std::vector<qel::test::LogLine> expected = {
        {0, 2, "[SQ] verbose"},       {1, 2, "[SQ] info"},          {1, 2, "[SUPPORT] [SQ] support"},
        {2, 2, "[SQ] warn"},          {3, 2, "[SQ] error"},         {1, 3, "[SQ] info_customer"},
        {2, 3, "[SQ] warn_customer"}, {3, 3, "[SQ] error_customer"}};
    EXPECT_EQ(capture.take(), expected);
}

// --- failures ------------------------------------------------------------------------------------------

TEST_F(ScriptVM, FailedScriptsAreCountedUnlessTheErrorIsCaught) {
    folder.write("broken.sq", "local = 1");
    folder.write("throws.sq", "throw 1");
    struct Case {
        const char* source;
        qel::uint32 failures;
    };
    constexpr Case kCases[] = {
        {"return 1", 0},
        {"try { throw 1 } catch (e) {}", 0},
        {"try { (function() { throw 1 }).acall([this]) } catch (e) {}", 0},
        {"try { compilestring(\"local = 1\") } catch (e) {}", 0},
        {"std.error(\"[SQ.INTERPRETER] not one\")", 0},
        {"throw 1", 1},
        {"local = 1", 1},
        {"include(folder + \"/broken.sq\")", 1},
        {"import(\"throws\")", 1},
    };
    vm().addImportSearchPath(folder.path());
    for (const auto& [source, failures] : kCases) {
        LogCapture capture;
        const qel::uint32 before = vm().getFailedScriptCount();
        run(source);
        EXPECT_EQ(vm().getFailedScriptCount() - before, failures) << source;
        capture.take();
    }
}

TEST_F(ScriptVM, FailedThreadsAndFunctorsAreCounted) {
    LogCapture capture;
    start("throw \"at once\"");
    start("pause(); throw \"later\"");
    start("pause()");
    for (int i = 0; i < 3; ++i) pass();
    EXPECT_EQ(vm().getFailedScriptCount(), 2u);
    evaluate("function() { throw 1 }").asClosure().getFunctorOnRoot().execute();
    EXPECT_EQ(vm().getFailedScriptCount(), 3u);
    capture.take();
}

// --- imports -------------------------------------------------------------------------------------------

void countImport(qelSq::VM* vm, const char* argument) {
    vm->executeString(("::imports += \"" + std::string(argument) + ";\"").c_str(), "callback");
}

TEST_F(ScriptVM, ImportCallbackRunsOnceWithItsArgument) {
    vm().setImportCallback("lib", &countImport, "replaced");
    vm().getLibrary().setImportCallback("lib", &countImport, "argument");
    vm().setImportCallback("empty", &countImport, nullptr);
    EXPECT_TRUE(run("import(\"lib\"); import(\"lib\"); import(\"empty\")"));
    EXPECT_EQ(evaluate("imports").asString(), "argument;;");
}

TEST_F(ScriptVM, ImportRunsOnceAndIncludeOnEveryCall) {
    folder.write("again.sq", "::runs += 1; pause(); ::runs += 10");
    for (const std::string& path : {std::string("/nowhere"), folder.path()}) vm().addImportSearchPath(path);
    run("for (local i = 0; i < 2; i++) { include(folder + \"/again.sq\"); import(\"again\") }");
    for (const char* runs : {"11", "13", "33"}) { // an import is never suspended
        EXPECT_EQ(text("runs"), runs);
        pass();
    }
    folder.write("bad.sq", "throw \"bad import\"");
    LogCapture capture;
    for (int call = 0; call < 2; ++call)
        EXPECT_TRUE(run("import(\"bad\"); import(\"missing\"); include(\"/no/such.sq\")"));
    for (const char* error : {"no import found for <missing>", "can't include </no/such.sq>"})
        capture.expect(3, error);
    EXPECT_EQ(capture.take().size(), 2u);
}

TEST_F(ScriptVM, ByteOrderMarkIsSkippedInEveryFile) {
    folder.write("marked.sq", "\xEF\xBB\xBF::runs += 1");
    vm().addImportSearchPath(folder.path());
    EXPECT_TRUE(run("import(\"marked\"); include(folder + \"/marked.sq\")"));
    EXPECT_EQ(text("runs"), "1");
    pass();
    EXPECT_EQ(text("runs"), "2");
}

TEST_F(ScriptVM, LoadedFilesMustBeSources) {
    folder.write("source.sq", "\xEF\xBB\xBFreturn 40 + 2");
    folder.write("code.cnut", "\xFA\xFArest");
    EXPECT_EQ(evaluate("std.dofile(folder + \"/source.sq\")").asInteger(), 42);
    expectError("std.loadfile(folder + \"/code.cnut\")", "bytecode is not loaded from files");
    expectError("std.dofile(folder + \"/missing\")", "cannot open the file");
}

} // namespace
