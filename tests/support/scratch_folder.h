// An empty folder for one test.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>

namespace qel::test {

/// Creates an empty folder in the system's temporary folder and removes it with its content in the
/// destructor.
class ScratchFolder {
public:
    ScratchFolder();
    ~ScratchFolder();
    ScratchFolder(const ScratchFolder&) = delete;
    ScratchFolder& operator=(const ScratchFolder&) = delete;

    /// Returns the folder, without a separator at the end.
    const std::string& path() const { return m_path; }
    /// Returns the path of @p name in the folder.
    std::string path(std::string_view name) const { return m_path + "/" + std::string(name); }
    /// Writes a file and creates the folders above it. @return its path.
    std::string write(std::string_view name, std::string_view content) const;
    /// Creates a folder and those above it. @return its path.
    std::string makeFolder(std::string_view name) const;
    /// Returns the content of a file; fails the test if it does not exist.
    std::string read(std::string_view name) const;
    /// Returns true if the name exists, even as a link without a target.
    bool has(std::string_view name) const;
    /// Returns the number of entries in the folder.
    int countEntries() const;

private:
    std::string m_path;
};

} // namespace qel::test
