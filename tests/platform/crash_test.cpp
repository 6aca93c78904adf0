#include <qel/platform/crash.h>

#include <tests/support/scratch_folder.h>

#include <gtest/gtest.h>

#include <functional>
#include <limits>
#include <sstream>
#include <thread>
#include <vector>

#include <fcntl.h>
#include <unistd.h>

namespace qel::platform {
namespace {

/// What @p fill writes.
std::string written(const std::function<void(CrashWriter&)>& fill) {
    const test::ScratchFolder folder;
    const int file = open(folder.path("text").c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600);
    {
        CrashWriter out(file);
        fill(out);
    }
    close(file);
    return folder.read("text");
}

std::string rememberedLines() {
    return written([](CrashWriter& out) { writeRememberedLogLines(out); });
}

TEST(CrashWriter, WritesTextsAndNumbersWithoutHelp) {
    const std::string text = written([](CrashWriter& out) {
        out.text("a\n").cstr(nullptr).cstr("b").line("c\nd\x7F").decimal(0).text(" ").hex(0).text(" ");
        out.decimal(std::numeric_limits<std::int64_t>::min()).text(" ");
        out.hex(std::numeric_limits<std::uint64_t>::max());
    });
    EXPECT_EQ(text, "a\nbc d 0 0x0 -9223372036854775808 0xffffffffffffffff");
    const std::string lengthy(5000, 'x'); // longer than its buffer
    EXPECT_EQ(written([&](CrashWriter& out) { out.text("ab").text(lengthy).text("cd"); }),
              "ab" + lengthy + "cd");
}

TEST(RememberedLogLines, TheLastOnesAreKeptInTheirOrder) {
    for (int i = 0; i < 200; ++i) rememberLogLine("line " + std::to_string(i));
    std::string expected;
    for (int i = 200 - 64; i < 200; ++i) expected += "  line " + std::to_string(i) + "\n";
    EXPECT_EQ(rememberedLines(), expected);
}

TEST(RememberedLogLines, LongLinesAreCutAndStayOnOneLine) {
    rememberLogLine(std::string(247, 'x') + "\n" + std::string(100, 'y'));
    EXPECT_TRUE(rememberedLines().ends_with("  " + std::string(247, 'x') + " \n"));
}

TEST(RememberedLogLines, LinesOfManyThreadsNeverMix) {
    std::vector<std::thread> threads;
    for (char letter : {'a', 'b', 'c', 'd'}) {
        threads.emplace_back([letter] {
            for (int i = 0; i < 2000; ++i) rememberLogLine(std::string(100, letter));
        });
    }
    for (int i = 0; i < 20; ++i) rememberedLines();
    for (std::thread& thread : threads) thread.join();
    std::istringstream lines(rememberedLines());
    int count = 0;
    for (std::string line; std::getline(lines, line); ++count) {
        ASSERT_EQ(line.size(), 102u);
        EXPECT_EQ(line, "  " + std::string(100, line[2]));
    }
    EXPECT_GT(count, 0);
}

} // namespace
} // namespace qel::platform
