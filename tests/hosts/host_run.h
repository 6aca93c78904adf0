// Runs a host program as a child process, with a folder of its own for each test.
#pragma once

#include <gtest/gtest.h>
#include <tests/support/scratch_folder.h>

#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

namespace qel::test {

/// What a run of qelhost left behind.
struct HostRun {
    int status = -1;   ///< exit status
    std::string out;   ///< standard output
    std::string error; ///< standard error
};

/// A test with a scratch folder, in which it writes plugins and runs qelhost on them.
class HostTest : public testing::Test {
protected:
    using Path = std::filesystem::path;

    /// Runs qelhost with @p arguments in the scratch folder, and waits for its end.
    HostRun run(const std::vector<std::string>& arguments) const;
    /// Runs qelhost on the catalogue of the source tree. @param language  empty for none.
    HostRun runCatalogue(const std::string& language, const Path& folder) const;

    /// The test's own folder.
    Path scratch() const { return m_folder.path(); }
    /// Writes @p text to a file of a plugin in the scratch folder.
    void writePlugin(const std::string& plugin, const std::string& file, std::string_view text) const;

private:
    ScratchFolder m_folder;
};

/// Writes @p text to @p path, with the folders above it.
void writeText(const std::filesystem::path& path, std::string_view text);
/// The bytes of a file.
std::string readText(const std::filesystem::path& path);
/// The lines of a text, without their ends, in byte order.
std::vector<std::string> sortedLines(const std::string& text);

} // namespace qel::test
