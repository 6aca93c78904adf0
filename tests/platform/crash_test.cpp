#include <qel/platform/crash.h>

#include <tests/support/scratch_folder.h>
#include <tests/support/threads.h>

#include <gtest/gtest.h>

#include <functional>
#include <limits>
#include <sstream>

#include <fcntl.h>
#include <unistd.h>

using namespace qel::platform;

/// Returns what @p fill writes.
static std::string written(const std::function<void(CrashWriter&)>& fill) {
    const qel::test::ScratchFolder folder;
    const int file = open(folder.path("text").c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600);
    {
        CrashWriter out(file);
        fill(out);
    }
    close(file);
    return folder.read("text");
}

static std::string rememberedLines() {
    return written([](CrashWriter& out) { writeRememberedLogLines(out); });
}

TEST(CrashWriter, WritesTextsAndNumbers) {
    const std::string text = written([](CrashWriter& out) {
        out.text("a\n").cstr(nullptr).cstr("b").line("c\nd\x7F").decimal(0).text(" ").hex(0).text(" ");
        out.decimal(std::numeric_limits<std::int64_t>::min()).text(" ");
        out.hex(std::numeric_limits<std::uint64_t>::max());
    });
    EXPECT_EQ(text, "a\nbc d 0 0x0 -9223372036854775808 0xffffffffffffffff");
    const std::string lengthy(5000, 'x'); // longer than the writer's buffer
    EXPECT_EQ(written([&](CrashWriter& out) { out.text("a").text(lengthy).text("b"); }), "a" + lengthy + "b");
}

TEST(RememberedLogLines, TheLastLinesAreKeptInOrderAndCutToALimit) {
    for (int i = 0; i < 200; ++i) rememberLogLine("line " + std::to_string(i));
    std::string expected;
    for (int i = 200 - 64; i < 200; ++i) expected += "  line " + std::to_string(i) + "\n";
    EXPECT_EQ(rememberedLines(), expected);
    rememberLogLine(std::string(247, 'x') + "\n" + std::string(100, 'y'));
    EXPECT_TRUE(rememberedLines().ends_with("  " + std::string(247, 'x') + " \n"));
}

TEST(RememberedLogLines, LinesOfManyThreadsNeverMix) {
    qel::test::onThreads(4, [](int i) {
        for (int n = 0; n < 2000; ++n) {
            rememberLogLine(std::string(100, static_cast<char>('a' + i)));
            if (n % 400 == 0) rememberedLines();
        }
    });
    std::istringstream lines(rememberedLines());
    std::string line;
    do {
        std::getline(lines, line);
        ASSERT_EQ(line.size(), 102u);
        EXPECT_EQ(line, "  " + std::string(100, line[2]));
    } while (lines.peek() != EOF);
}
