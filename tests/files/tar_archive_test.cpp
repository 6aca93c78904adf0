#include <qel/files/tar_archive.h>

#include <qel/foundation/base/buffer.h>
#include <tests/files/file_fixture.h>
#include <tests/files/tar_sample.h>
#include <tests/support/threads.h>

#include <cstdlib>

namespace qel {
namespace {

using test::octalSize;
using test::tarBlock;
using test::tarEnd;
using test::tarEntry;

class TarArchiveTest : public test::FileFixture {
protected:
    /// Returns the files of an archive with these bytes as "name=content", in the order of their names.
    std::string filesIn(const std::string& bytes) {
        folder.write("x.tar", bytes);
        const bool found = archive.open(path("x.tar"));
        Vector<String> names = archive.getFileNames();
        EXPECT_EQ(found, !names.empty());
        std::sort(names.begin(), names.end());
        std::string text;
        for (const String& name : names) {
            EXPECT_TRUE(archive.readFile(name, content)) << name;
            text += name + "=" + std::string(content.getConstByteSpan().asText()) + ";";
        }
        return text;
    }

    TarArchive archive;
    Buffer content;
};

TEST_F(TarArchiveTest, OnlyFileEntriesAreListedAndTheLastOneIsUsed) {
    const std::string long99(99, 'n');
    EXPECT_EQ(
        filesIn(tarEntry("a/b", "old") + tarEntry("a/", "", '5') + tarEntry("dir/", "") +
                tarEntry("link", "", '2') + tarEntry("pax", "path=x\n", 'x') + tarEntry("empty", "") +
                tarEntry("v7", "seven", '\0') + tarEntry("tiled", std::string(512, 't'), '7') +
                tarEntry("a/b", "new") + tarEntry("deep", "d", '0', "far/away") + tarEntry("", "no name") +
                tarEntry(long99 + "n", "100") + tarEnd() + tarEntry("after the end", "")),
        "a/b=new;empty=;far/away/deep=d;" + long99 + "n=100;tiled=" + std::string(512, 't') + ";v7=seven;");
    EXPECT_TRUE(archive.hasFile("a/b"));
    EXPECT_FALSE(archive.hasFile("a"));
    EXPECT_FALSE(archive.readFile("a/", content));
    EXPECT_FALSE(archive.open(folder.path())) << "the previous archive is closed";
    EXPECT_FALSE(archive.hasFile("a/b")) << "the previous archive is closed";
}

TEST_F(TarArchiveTest, DamageEndsTheReadingAndKeepsEarlierEntries) {
    const auto base256 = [](const std::string& low) {
        return "\x80" + std::string(11 - low.size(), '\0') + low;
    };
    const std::string first = tarEntry("first", "1"), wrong = tarBlock({"second", octalSize(1), '0', "", 1});
    const std::string sum = "checksum failure", end = "short read: expected 512, got 0";
    const std::array<std::string, 3> cases[] = {
        {first + wrong + std::string(512, '2') + tarEntry("third", "3"), "first=1;", sum},
        {first + tarEntry("second", "2").substr(0, 100), "first=1;", "short read: expected 512, got 100"},
        {first, "first=1;", end},
        {first + tarBlock({"big", base256("\x02")}) + "22", "big=22;first=1;", end},
        {first + tarBlock({"big", octalSize(513)}) + std::string(512, 'x'), "first=1;", end},
        {first + tarBlock({"big", base256("\x7F" + std::string(7, '\xFF'))}), "first=1;", end}};
    for (const auto& [bytes, files, how] : cases) {
        EXPECT_EQ(filesIn(bytes), files);
        log.expect(3, "tar '" + path("x.tar") + "' corrupt: " + how);
    }
    EXPECT_EQ(filesIn(tarEnd()), "");
}

TEST_F(TarArchiveTest, AFileThatCannotBeReadCompletelyIsRefused) {
    folder.write("x.tar", tarEntry("a", std::string(1000, 'a')) + tarEnd());
    ASSERT_TRUE(archive.open(path("x.tar")));
    std::filesystem::resize_file(path("x.tar"), 700);
    EXPECT_FALSE(archive.readFile("a", content));
    EXPECT_TRUE(content.empty());
}

TEST_F(TarArchiveTest, ArchivesOfTheTarProgramAreReadByManyThreads) {
    const auto contentOf = [](int i) { return std::string(static_cast<size_t>(i * 97), 'a'); };
    for (int i = 0; i < 40; ++i) folder.write("tree/" + std::to_string(i), contentOf(i));
    const std::string command =
        "tar -C '" + folder.path() + "' --format=ustar -cf '" + path("x.tar") + "' tree";
    ASSERT_EQ(std::system(command.c_str()), 0);
    ASSERT_TRUE(archive.open(path("x.tar")));
    std::atomic<int> right = 0;
    test::onThreads(4, [&](int) {
        Buffer read;
        for (int i = 0; i < 40; ++i)
            right += archive.readFile("tree/" + std::to_string(i), read) &&
                     read.getConstByteSpan().asText() == contentOf(i);
    });
    EXPECT_EQ(right, 160);
}

} // namespace
} // namespace qel
