#include <qel/files/memory_map.h>
#include <qel/platform/crash.h>
#include <qel/platform/machine.h>

#include <tests/files/file_fixture.h>

#include <csignal>

namespace qel {
namespace {

class MemoryMapTest : public test::FileFixture {
protected:
    MemoryMapTest() {
        for (size_t i = 0; i < content.size(); ++i) content[i] = static_cast<char>(i * 7 + i / 251);
        folder.write("mapped", content);
    }

    const unsigned page = platform::pageSize();
    const std::string mapped = folder.path("mapped");
    std::string content = std::string(3 * page + 100, '\0');
};

TEST_F(MemoryMapTest, WrittenBytesAreSeenByOthersAndReachTheFile) {
    MemoryMap map(mapped.c_str(), MemoryMap::ReadWrite);
    MemoryMap reader(mapped.c_str(), MemoryMap::ReadOnly);
    uint8* const window = map.map(page + 10, 20);
    uint8* const seen = reader.map(page + 12, 1);
    ASSERT_TRUE(window);
    ASSERT_TRUE(seen);
    EXPECT_EQ(*seen, static_cast<uint8>(content[page + 12]));
    window[2] = 'X';
    EXPECT_EQ(*seen, 'X');
    EXPECT_TRUE(map.flush(window + 2, 1));
    EXPECT_EQ(folder.read("mapped")[page + 12], 'X');
    map.unmap(window, page + 10, 20);
    reader.unmap(seen, page + 12, 1);
}

TEST_F(MemoryMapTest, RefusesNonFilesAndWindowsOutsideTheFile) {
    folder.write("empty", "");
    for (const std::string& bad : {path("missing"), path("empty"), folder.path(), std::string()}) {
        MemoryMap map(bad.c_str(), MemoryMap::ReadOnly);
        log.expect(3, "file mapping object could not be created");
        EXPECT_FALSE(map.isValid()) << bad;
        EXPECT_FALSE(map.map(0, 1)) << bad;
        log.expect(3, "memory mapping failed offset=0 size=1 code=22 msg=Invalid argument");
    }
    MemoryMap map(mapped.c_str(), MemoryMap::ReadOnly);
    EXPECT_FALSE(map.map(3 * page + 99, 2));
    EXPECT_FALSE(map.map(~uint64{0} - 5, 4'000'000'000u));
    EXPECT_EQ(log.take().size(), 2u);
}

TEST_F(MemoryMapTest, ATruncatedFileReadsAsZerosAndIsLogged) {
    for (const bool hasCrashHandler : {false, true}) {
        EXPECT_TRUE(!hasCrashHandler || platform::installCrashHandler(folder.path("dump"), "test"));
        folder.write("mapped", content);
        MemoryMap map(mapped.c_str(), MemoryMap::ReadWrite);
        uint8* const window = map.map(10, 3 * page);
        ASSERT_TRUE(window);
        std::filesystem::resize_file(mapped, page / 2);
        EXPECT_EQ(window[0], static_cast<uint8>(content[10]));
        EXPECT_EQ(window[page], 0);
        window[2 * page] = 5;
        EXPECT_EQ(window[2 * page], 5);
        EXPECT_EQ(map.map(page, 1), nullptr);
        EXPECT_EQ(log.take().size(), 1u);
        map.unmap(window, 10, 3 * page);
        log.expect(2, "mapped file '" + mapped +
                          "' could not be read completely; missing pages were read as zeros");
        if (hasCrashHandler) platform::removeCrashHandler();
    }
    EXPECT_FALSE(folder.has("dump"));
    EXPECT_DEATH(::raise(SIGBUS), ""); // any other fault is passed on
    EXPECT_EQ(std::filesystem::file_size(mapped), page / 2);
}

} // namespace
} // namespace qel
