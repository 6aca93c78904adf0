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
        if (!std.isnull(null) || std.isnull(0)) throw "null"
        if (std.safe_tointeger("12") != 12 || std.safe_tointeger({}) != 0) throw "integer"
        if (std.safe_tofloat("1.5") != 1.5 || std.safe_tofloat(null) != 0.0) throw "float")"));
}

TEST_F(ScriptLibrary, TextFunctionsTakeAnythingAndReachFiles) {
    const std::pair<const char*, std::string> cases[] = {
        {"contains(12345, 34)", "true"},
        {"ends_with(\"abc\", \"bc\")", "true"},
        {"replace_all(\"aXbX\", \"X\", \"--\")", "a--b--"},
        {"utf8_uppercase(\"ä\")", "Ä"},
        {"compute_hash(\"a\")", std::to_string(qel::String("a").hash())},
        {"write_to_file(folder + \"/a\", \"one\")", "true"},
        {"append_to_file(folder + \"/a\", \" two\")", "true"},
        {"read_file_as_base64(folder + \"/a\")", "b25lIHR3bw=="},
        {"write_file_from_base64(folder + \"/b\", \"b25lIHR3bw==\")", "true"},
        {"read_from_file(folder + \"/b\")", "one two"},
        {"read_from_file(folder + \"/missing\")", ""},
        {"append_to_file(folder + \"/no/such\", \"x\")", "false"},
    };
    LogCapture capture;
    for (const auto& [source, expected] : cases) EXPECT_EQ(text(std::string("string.") + source), expected);
    EXPECT_FALSE(capture.take().empty());
}

TEST_F(ScriptLibrary, AnImportRunsOnceOnTheCallersStackEvenWhenItFails) {
    folder.write("good.sq", "::runs <- (\"runs\" in getroottable() ? ::runs : 0) + 1");
    folder.write("bad.sq", "throw \"bad import\"");
    vm().addImportSearchPath("/nowhere");
    vm().addImportSearchPath(folder.path());
    EXPECT_TRUE(run("import(\"good\"); ::seen <- runs; import(\"good\")"));
    EXPECT_EQ(text("seen + runs"), "2");
    LogCapture capture;
    EXPECT_TRUE(run("import(\"bad\"); import(\"bad\")"));
    EXPECT_EQ(capture.take().size(), 1u);
}

TEST_F(ScriptLibrary, AnIncludeRunsAsAThreadEachTime) {
    folder.write("again.sq",
                 "::runs <- (\"runs\" in getroottable() ? ::runs : 0) + 1; pause(); ::runs += 10");
    EXPECT_TRUE(run("include(folder + \"/again.sq\"); include(folder + \"/again.sq\")"));
    EXPECT_TRUE(evaluate("\"runs\" in getroottable()").asBool() == false);
    pass();
    EXPECT_EQ(evaluate("runs").asInteger(), 2);
    pass();
    EXPECT_EQ(evaluate("runs").asInteger(), 22);
}

TEST_F(ScriptLibrary, LoadedFilesAreSourcesOnly) {
    folder.write("source.sq", "\xEF\xBB\xBFreturn 40 + 2");
    folder.write("code.cnut", "\xFA\xFArest");
    EXPECT_EQ(evaluate("std.dofile(folder + \"/source.sq\")").asInteger(), 42);
    EXPECT_EQ(evaluate("std.loadfile(folder + \"/source.sq\", true)()").asInteger(), 42);
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
    EXPECT_EQ(text("found.len()"), "4");
    EXPECT_EQ(text("found.file.size"), "5");
    const std::string kinds = "(@(e) e.isDirectory + \" \" + e.isSymLink + \" \" + e.isSpecial)";
    EXPECT_EQ(text(kinds + "(found.file)"), "false false false");
    EXPECT_EQ(text(kinds + "(found.sub)"), "true false false");
    EXPECT_EQ(text(kinds + "(found.link)"), "true true false");
    EXPECT_EQ(text(kinds + "(found.device)"), "false true true");
    EXPECT_EQ(text("qel.Directory().read() == null"), "true");
    EXPECT_EQ(text("qel.File.getFileInfo(folder + \"/none\") == null"), "true");
}

TEST_F(ScriptLibrary, HashesOfFilesAreUnsigned) {
    folder.write("digits", "x123456789y");
    // The complement of the check value e3069283 of CRC-32C.
    EXPECT_EQ(text("qel.File.getFileHash(folder + \"/digits\", 1, 9)"), std::to_string(0x1cf96d7cu));
    EXPECT_EQ(text("qel.File.getFileHash(folder + \"/none\", 0, 9)"), std::to_string(0xffffffffu));
}

TEST_F(ScriptLibrary, TheSystemIsASingletonThatScriptsHoldWithoutAReference) {
    int references = system().getReferenceCount();
    EXPECT_TRUE(run(R"(import("qel.System"); ::system <- qel.System()
        system.setEnv("key", "value")
        if (system.getEnv("key") != "value") throw 1
        system.unsetEnv("key")
        if (system.getEnv("key") != null) throw 2
        if (system.getArgument(3) != null) throw 3)"));
    EXPECT_EQ(system().getReferenceCount(), references);
}

} // namespace
