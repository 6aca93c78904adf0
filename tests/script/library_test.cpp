#include "script_fixture.h"

#include <tests/support/scratch_folder.h>

#include <filesystem>

namespace {

using qel::test::LogCapture;

class ScriptLibrary : public qel::test::ScriptFixture {
protected:
    void SetUp() override {
        ScriptFixture::SetUp();
        vm().getRootTable().set("folder", qelSq::Object::of(folder.path()));
        EXPECT_TRUE(run("::pause <- std[\"yield\"]; import(\"qel.File\"); import(\"qel.Directory\")"));
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

TEST_F(ScriptLibrary, AFileThatCannotBeReadOrWrittenIsLogged) {
    LogCapture capture;
    EXPECT_EQ(text("string.read_from_file(folder + \"/missing\")"), "");
    EXPECT_EQ(capture.take().size(), 1u);
    EXPECT_EQ(text("string.append_to_file(folder + \"/no/such\", \"x\")"), "false");
}

TEST_F(ScriptLibrary, AnImportRunsOnceOnTheCallersStackAndAnIncludeAsAThreadEachTime) {
    folder.write("bad.sq", "throw \"bad import\"");
    folder.write("again.sq",
                 "::runs <- (\"runs\" in getroottable() ? ::runs : 0) + 1; pause(); ::runs += 10");
    vm().addImportSearchPath("/nowhere");
    vm().addImportSearchPath(folder.path());
    EXPECT_TRUE(run("include(folder + \"/again.sq\"); include(folder + \"/again.sq\")"));
    EXPECT_TRUE(run("import(\"again\"); ::seen <- runs; import(\"again\")"));
    EXPECT_EQ(text("seen + runs"), "22") << "no import pauses";
    pass();
    EXPECT_EQ(text("runs"), "13");
    pass();
    EXPECT_EQ(text("runs"), "33");
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

TEST_F(ScriptLibrary, EntriesOfAFolderAreReadOneByOneWithAllThatIsKnown) {
    folder.write("file", "12345");
    folder.makeFolder("sub");
    std::filesystem::create_directory_symlink("sub", folder.path("link"));
    std::filesystem::create_symlink("/dev/null", folder.path("device"));
    ASSERT_TRUE(run("local d = qel.Directory(); d.open(folder); found <- {};"
                    "for (local e = d.read(); e != null; e = d.read()) found[e.name] <- e"));
    EXPECT_EQ(text("found.len() + found.file.size"), "9");
    for (const auto& [name, kind] : {std::pair("file", "false false false"),
                                     {"sub", "true false false"},
                                     {"link", "true true false"},
                                     {"device", "false true true"}})
        EXPECT_EQ(
            text(std::string("(@(e) e.isDirectory + \" \" + e.isSymLink + \" \" + e.isSpecial)(found.") +
                 name + ")"),
            kind)
            << name;
    EXPECT_EQ(text("qel.Directory().read() == null && qel.File.getFileInfo(folder + \"/none\") == null"),
              "true");
}

TEST_F(ScriptLibrary, HashesOfFilesAreUnsigned) {
    folder.write("digits", "x123456789y");
    // The complement of the check value e3069283 of CRC-32C.
    EXPECT_EQ(text("qel.File.getFileHash(folder + \"/digits\", 1, 9)"), std::to_string(0x1cf96d7cu));
    EXPECT_EQ(text("qel.File.getFileHash(folder + \"/none\", 0, 9)"), std::to_string(0xffffffffu));
}

TEST_F(ScriptLibrary, TheSystemIsASingletonThatScriptsHoldWithoutAReference) {
    int references = system().getReferenceCount();
    EXPECT_TRUE(run("import(\"qel.System\"); ::system <- qel.System(); ::again <- qel.System()"));
    EXPECT_EQ(system().getReferenceCount(), references);
}

} // namespace
