#include <qel/platform/console.h>
#include <qel/platform/stream_redirection.h>

#include <tests/support/environment.h>
#include <tests/support/scratch_folder.h>

#include <gtest/gtest.h>

#include <utility>

#include <fcntl.h>
#include <sys/ioctl.h>
#include <unistd.h>

using namespace qel::platform;

using qel::test::EnvironmentVariable;

constexpr StandardStream kInput = StandardStream::Input;

static void putInPlaceOfInput(const char* path) {
    const int file = open(path, O_RDWR | O_NOCTTY);
    ASSERT_GE(file, 0) << path;
    dup2(file, 0);
    close(file);
}

TEST(Console, OnlyATerminalHasAWidthAndColours) {
    const EnvironmentVariable kind("TERM", "xterm"), refusal("NO_COLOR", "");
    const int before = dup(0);
    putInPlaceOfInput("/dev/null");
    EXPECT_FALSE(isTerminal(kInput));
    EXPECT_FALSE(wantsColor(kInput));
    EXPECT_EQ(terminalWidth(kInput), 80);
    dup2(before, 0);
    const int control = posix_openpt(O_RDWR | O_NOCTTY); // a terminal without a user
    if (grantpt(control) != 0 || unlockpt(control) != 0 || access(ptsname(control), R_OK) != 0)
        GTEST_SKIP() << "terminals are not available here, for example in a bare chroot";
    putInPlaceOfInput(ptsname(control));
    EXPECT_TRUE(isTerminal(kInput));
    EXPECT_TRUE(wantsColor(kInput));
    for (const auto& [columns, width] : {std::pair(123, 123), std::pair(0, 80)}) {
        const winsize size{24, static_cast<unsigned short>(columns), 0, 0};
        ioctl(0, TIOCSWINSZ, &size);
        EXPECT_EQ(terminalWidth(kInput), width);
    }
    for (const auto& [name, value] : {std::pair("NO_COLOR", "1"), {"TERM", nullptr}, {"TERM", "dumb"}}) {
        const EnvironmentVariable changed(name, value);
        EXPECT_FALSE(wantsColor(kInput)) << name;
    }
    dup2(before, 0);
    for (const int file : {control, before}) close(file);
}

TEST(Console, ARedirectedStreamCanBeRestored) {
    const qel::test::ScratchFolder folder;
    FileHandle file, original, redirected;
    ASSERT_FALSE(openFile(file, folder.write("input", "hello").c_str(), OpenMode::Read));
    ASSERT_FALSE(redirectStandardStream(kInput, file, original));
    char text[5] = {};
    const ssize_t size = read(0, text, sizeof text);
    EXPECT_FALSE(redirectStandardStream(kInput, original, redirected));
    EXPECT_EQ(std::string_view(text, static_cast<size_t>(size)), "hello");
    EXPECT_EQ(redirectStandardStream(kInput, FileHandle(), redirected), std::errc::bad_file_descriptor);
}
