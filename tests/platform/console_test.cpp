#include <qel/platform/stream_redirection.h>

#include <tests/support/scratch_folder.h>

#include <gtest/gtest.h>

#include <unistd.h>

using namespace qel::platform;

constexpr StandardStream kInput = StandardStream::Input;

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
