// What scripts learn of files and the entries of folders.
#include <tests/script/script_fixture.h>
#include <tests/support/scratch_folder.h>

#include <filesystem>

namespace qel::test {

class FileEntries : public ScriptFixture {
protected:
    void SetUp() override {
        ScriptFixture::SetUp();
        EXPECT_TRUE(run("import(\"qel.File\"); import(\"qel.Directory\")"));
        vm().getRootTable().set("folder", qelSq::Object::of(folder.path()));
    }

    ScratchFolder folder;
};

TEST_F(FileEntries, AreReadOneByOneWithAllThatIsKnown) {
    folder.write("file", "12345");
    folder.makeFolder("sub");
    std::filesystem::create_directory_symlink("sub", folder.path("link"));
    std::filesystem::create_symlink("/dev/null", folder.path("device"));
    ASSERT_TRUE(run("local d = qel.Directory(); d.open(folder); found <- {};"
                    "for (local e = d.read(); e != null; e = d.read()) found[e.name] <- e"));
    EXPECT_EQ(text("found.len()"), "4");
    EXPECT_EQ(text("found.file.size"), "5");
    EXPECT_EQ(text("found.file.modificationTime > 0 && found.file.creationTime > 0"), "true");
    const std::string kinds = "(@(e) e.isDirectory + \" \" + e.isSymLink + \" \" + e.isSpecial)";
    EXPECT_EQ(text(kinds + "(found.file)"), "false false false");
    EXPECT_EQ(text(kinds + "(found.sub)"), "true false false");
    EXPECT_EQ(text(kinds + "(found.link)"), "true true false");
    EXPECT_EQ(text(kinds + "(found.device)"), "false true true");
}

TEST_F(FileEntries, OfAFolderThatCannotBeOpenedAreNone) {
    EXPECT_EQ(text("qel.Directory().read() == null"), "true");
    EXPECT_EQ(text("(function() { local d = qel.Directory(); return d.open(folder + \"/none\") || d.read() "
                   "!= null })()"),
              "false");
}

TEST_F(FileEntries, AreHashedAndTestedForAccess) {
    folder.write("digits", "x123456789y");
    // The complement of the check value e3069283 of CRC-32C.
    EXPECT_EQ(text("qel.File.getFileHash(folder + \"/digits\", 1, 9)"), std::to_string(0x1cf96d7cu));
    EXPECT_EQ(text("qel.File.getFileHash(folder + \"/none\", 0, 9)"), std::to_string(0xffffffffu));
    EXPECT_EQ(text("qel.File.isAccessible(folder + \"/digits\", false)"), "true");
    EXPECT_EQ(text("qel.File.isAccessible(folder + \"/digits/below\", false)"), "false");
}

} // namespace qel::test
