#include "script_fixture.h"

#include <filesystem>
#include <fstream>

namespace {

using qel::test::LogCapture;

class ScriptLibrary : public qel::test::ScriptFixture {
protected:
    void SetUp() override {
        ScriptFixture::SetUp();
        folder = std::filesystem::path(testing::TempDir()) /
                 ("script_library_" + std::to_string(reinterpret_cast<uintptr_t>(this)) +
                  testing::UnitTest::GetInstance()->current_test_info()->name());
        std::filesystem::create_directories(folder);
        run("::pause <- std[\"yield\"]");
        vm().getRootTable().set("folder", qelSq::Object::of(folder.string()));
    }

    void TearDown() override {
        ScriptFixture::TearDown();
        std::filesystem::remove_all(folder);
    }

    void write(const std::string& name, const std::string& content) {
        std::ofstream(folder / name, std::ios::binary) << content;
    }

    std::filesystem::path folder;
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

TEST_F(ScriptLibrary, TextFunctionsTakeAnything) {
    EXPECT_EQ(text("string.contains(12345, 34)"), "true");
    EXPECT_EQ(text("string.begins_with(\"abc\", \"b\")"), "false");
    EXPECT_EQ(text("string.ends_with(\"abc\", \"bc\")"), "true");
    EXPECT_EQ(text("string.replace_all(\"aXbX\", \"X\", \"--\")"), "a--b--");
    EXPECT_EQ(text("string.utf8_uppercase(\"ä\")"), "Ä");
    EXPECT_EQ(text("string.trim_spaces(\"  a \")"), "a");
    EXPECT_EQ(text("string.compute_hash(\"a\")"), std::to_string(qel::String("a").hash()));
    expectError("string.contains(\"a\")", "invalid argument count on native static method call");
}

TEST_F(ScriptLibrary, FilesAreWrittenAppendedAndRead) {
    LogCapture capture;
    EXPECT_EQ(text("string.write_to_file(folder + \"/a\", \"one\")"), "true");
    EXPECT_EQ(text("string.append_to_file(folder + \"/a\", \" two\")"), "true");
    EXPECT_EQ(text("string.read_from_file(folder + \"/a\")"), "one two");
    EXPECT_EQ(text("string.read_file_as_base64(folder + \"/a\")"), "b25lIHR3bw==");
    EXPECT_EQ(text("string.write_file_from_base64(folder + \"/b\", \"b25lIHR3bw==\")"), "true");
    EXPECT_EQ(text("string.read_from_file(folder + \"/b\")"), "one two");
    EXPECT_EQ(text("string.read_from_file(folder + \"/missing\")"), "");
    EXPECT_EQ(text("string.append_to_file(folder + \"/no/such\", \"x\")"), "false");
    EXPECT_FALSE(capture.take().empty());
}

TEST_F(ScriptLibrary, AnImportRunsOnceOnTheCallersStackEvenWhenItFails) {
    write("good.sq", "::runs <- (\"runs\" in getroottable() ? ::runs : 0) + 1");
    write("bad.sq", "throw \"bad import\"");
    vm().addImportSearchPath("/nowhere");
    vm().addImportSearchPath(folder.string());
    EXPECT_TRUE(run("import(\"good\"); ::seen <- runs; import(\"good\")"));
    EXPECT_EQ(evaluate("seen").asInteger(), 1);
    EXPECT_EQ(evaluate("runs").asInteger(), 1);
    LogCapture capture;
    EXPECT_TRUE(run("import(\"bad\"); import(\"bad\")"));
    EXPECT_EQ(capture.take().size(), 1u);
}

TEST_F(ScriptLibrary, AnIncludeRunsAsAThreadEachTime) {
    write("again.sq", "::runs <- (\"runs\" in getroottable() ? ::runs : 0) + 1; pause(); ::runs += 10");
    EXPECT_TRUE(run("include(folder + \"/again.sq\"); include(folder + \"/again.sq\")"));
    EXPECT_TRUE(evaluate("\"runs\" in getroottable()").asBool() == false);
    pass();
    EXPECT_EQ(evaluate("runs").asInteger(), 2);
    pass();
    EXPECT_EQ(evaluate("runs").asInteger(), 22);
}

TEST_F(ScriptLibrary, LoadedFilesAreSourcesOnly) {
    write("source.sq", "\xEF\xBB\xBFreturn 40 + 2");
    write("code.cnut", "\xFA\xFArest");
    EXPECT_EQ(evaluate("std.dofile(folder + \"/source.sq\")").asInteger(), 42);
    EXPECT_EQ(evaluate("std.loadfile(folder + \"/source.sq\", true)()").asInteger(), 42);
    expectError("std.loadfile(folder + \"/code.cnut\")", "bytecode is not loaded from files");
    expectError("std.dofile(folder + \"/missing\")", "cannot open the file");
}

TEST_F(ScriptLibrary, FilesAndFoldersAreReachedByTheirClasses) {
    EXPECT_TRUE(run(R"(import("qel.File"); import("qel.Directory")
        if (!qel.Directory.createDirectory(folder + "/sub")) throw 1
        if (!string.write_to_file(folder + "/sub/x.txt", "12345")) throw 2
        if (qel.File.getFileSize(folder + "/sub/x.txt") != 5) throw 3
        local info = qel.File.getFileInfo(folder + "/sub/x.txt")
        if (info.size != 5 || info.isDirectory) throw 4
        if (qel.File.getFileInfo(folder + "/none") != null) throw 5
        local d = qel.Directory()
        if (!d.open(folder + "/sub") || d.readNextFile() != "x.txt" || d.readNextFile() != "") throw 6
        if (!qel.File.copyFile(folder + "/sub/x.txt", folder + "/y")) throw 7
        if (!qel.File.compareFiles(folder + "/sub/x.txt", folder + "/y")) throw 8
        if (!qel.File.deleteFile(folder + "/y", true) || qel.File.existsFile(folder + "/y")) throw 9
        if (!qel.Directory.deleteDirectoryRecursively(folder + "/sub")) throw 10)"));
}

TEST_F(ScriptLibrary, DatesAreValues) {
    EXPECT_TRUE(run(R"(import("qel.GregorianDate")
        local d = qel.GregorianDate.fromYYYYMMDD("20240305")
        if (d.getYear() != 2024 || d.getMonth() != 3 || d.formatAsDicomDate() != "20240305") throw 1
        d.set(2024, 3, 5, 14, 30, 7, 0)
        if (d.formatAsFilenameFriendlyIDWithTime() != "20240305-143007") throw 2
        if (d.formatAsShortDate("de") != "05.03.24") throw 3
        local e = clone d; e.setHours(15)
        if (d.compare(e) >= 0 || d.getHours() != 14) throw 4)"));
    LogCapture capture;
    EXPECT_FALSE(run("qel.GregorianDate.fromYYYYMMDD(\"no date\")"));
    EXPECT_EQ(capture.take().size(), 1u);
}

TEST_F(ScriptLibrary, TheSystemIsASingletonThatScriptsHoldWithoutAReference) {
    int references = system().getReferenceCount();
    EXPECT_TRUE(run(R"(import("qel.System"); ::system <- qel.System()
        system.setEnv("key", "value")
        if (system.getEnv("key") != "value") throw 1
        system.unsetEnv("key")
        if (system.getEnv("key") != null) throw 2
        if (system.getNumberOfArguments() != 0 || system.getArgument(3) != null) throw 3
        if (system.getArgumentParameter("-x", "none") != "none" || system.hasArgument("-x")) throw 4
        if (system.getTime() < 1 || system.getExecutableExtension() != "") throw 5)"));
    EXPECT_EQ(system().getReferenceCount(), references);
}

} // namespace
