#include "script_fixture.h"

#include <tests/support/scratch_folder.h>

namespace {

using qel::test::LogCapture;

class ScriptLibrary : public qel::test::ScriptFixture {
protected:
    void SetUp() override {
        ScriptFixture::SetUp();
        vm().getRootTable().set("folder", qelSq::Object::of(folder.path()));
        run("::pause <- std[\"yield\"]");
    }

    qel::test::ScratchFolder folder;
};

TEST_F(ScriptLibrary, LogFunctionsChooseLevelAndAudience) {
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

TEST_F(ScriptLibrary, ThePreludeTellsTypes) {
    EXPECT_TRUE(run(R"(
        local values = { integer = 1, bool = true, float = 1.0, array = [], string = "", table = {},
                         blob = std.blob(1), ["function"] = @() 1, ["class"] = class {}, instance = class {}() }
        foreach (name, value in values) foreach (other, v in values)
            if (std["is" + name](v) != (name == other)) throw name + " " + other
        if (std.isnull(0) || std.safe_tointeger({}) != 0 || std.safe_tofloat(null) != 0.0) throw "null")"));
}

TEST_F(ScriptLibrary, AnImportRunsOnceOnTheCallersStackAndAnIncludeAsAThreadEachTime) {
    folder.write("bad.sq", "throw \"bad import\"");
    folder.write("again.sq",
                 "::runs <- (\"runs\" in getroottable() ? ::runs : 0) + 1; pause(); ::runs += 10");
    for (const std::string& path : {std::string("/nowhere"), folder.path()}) vm().addImportSearchPath(path);
    EXPECT_TRUE(run("for (local i = 0; i < 2; i++) { include(folder + \"/again.sq\"); import(\"again\") }"));
    for (const char* runs : {"11", "13", "33"}) { // no import pauses
        EXPECT_EQ(text("runs"), runs);
        pass();
    }
    LogCapture capture;
    EXPECT_TRUE(run("import(\"bad\"); import(\"bad\")"));
    EXPECT_EQ(capture.take().size(), 1u);
}

TEST_F(ScriptLibrary, LoadedFilesAreSourcesOnly) {
    folder.write("source.sq", "\xEF\xBB\xBFreturn 40 + 2");
    folder.write("code.cnut", "\xFA\xFArest");
    EXPECT_EQ(evaluate("std.dofile(folder + \"/source.sq\")").asInteger(), 42);
    expectError("std.loadfile(folder + \"/code.cnut\")", "bytecode is not loaded from files");
    expectError("std.dofile(folder + \"/missing\")", "cannot open the file");
}

} // namespace
