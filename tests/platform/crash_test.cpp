#include <qel/platform/crash.h>

#include <tests/support/scratch_folder.h>
#include <tests/support/threads.h>

#include <gtest/gtest.h>

#include <sstream>

#include <fcntl.h>
#include <unistd.h>

using namespace qel::platform;

static std::string rememberedLines() {
    const qel::test::ScratchFolder folder;
    const int file = open(folder.path("text").c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600);
    {
        CrashWriter out(file);
        writeRememberedLogLines(out);
    }
    close(file);
    return folder.read("text");
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
