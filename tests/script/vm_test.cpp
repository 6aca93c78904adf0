#include "script_fixture.h"

#include <tests/support/scratch_folder.h>

namespace {

using qel::test::LogCapture;

class ScriptVM : public qel::test::ScriptFixture {
protected:
    void SetUp() override {
        ScriptFixture::SetUp();
        vm().getRootTable().set("folder", qelSq::Object::of(folder.path()));
        run("::pause <- std[\"yield\"]; ::runs <- 0");
    }

    qel::test::ScratchFolder folder;
};

TEST_F(ScriptVM, RunTimeErrorIsLoggedWithCallStackAndLocals) {
    LogCapture capture;
    EXPECT_FALSE(run("function f(n) {\n local aText = \"0123456789012345678901234567890123456789tail\"\n"
                     "throw \"boom\"\n} f(5)"));
    EXPECT_EQ(vm().getLastError(), "boom");
    const std::string text = capture.take().at(0).text;
    EXPECT_TRUE(text.starts_with("[SQ.INTERPRETER] boom\nCALLSTACK:\n* f() [test:3]\n")) << text;
    for (const char* line :
         {"   n=5 INTEGER\n", "   aText=\"01234567890123456 ... 7890123456789tail\" STRING\n",
          "* main() [test:4]\n"})
        EXPECT_NE(text.find(std::string("\n") + line), std::string::npos) << line << "\nin\n" << text;
}

// --- failures ------------------------------------------------------------------------------------------

TEST_F(ScriptVM, FailedScriptsAreCountedUnlessTheErrorIsCaught) {
    folder.write("throws.sq", "throw 1");
    const std::pair<const char*, qel::uint32> cases[] = {
        {"return 1", 0},
        {"try { throw 1 } catch (e) {}", 0},
        {"try { compilestring(\"local = 1\") } catch (e) {}", 0},
        {"throw 1", 1},
        {"local = 1", 1},
        {"import(\"throws\")", 1},
    };
    vm().addImportSearchPath(folder.path());
    for (const auto& [source, failures] : cases) {
        LogCapture capture;
        const qel::uint32 before = vm().getFailedScriptCount();
        run(source);
        EXPECT_EQ(vm().getFailedScriptCount() - before, failures) << source;
        capture.take();
    }
}

// --- imports -------------------------------------------------------------------------------------------

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

TEST_F(ScriptVM, LoadedFilesMustBeSources) {
    folder.write("source.sq", "\xEF\xBB\xBFreturn 40 + 2");
    folder.write("code.cnut", "\xFA\xFArest");
    EXPECT_EQ(evaluate("std.dofile(folder + \"/source.sq\")").asInteger(), 42);
    expectError("std.loadfile(folder + \"/code.cnut\")", "bytecode is not loaded from files");
    expectError("std.dofile(folder + \"/missing\")", "cannot open the file");
}

} // namespace
