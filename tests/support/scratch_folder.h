// A fresh folder for one test.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>

namespace qel::test {

/// Makes an empty folder in the system's temporary folder and removes it with everything in it at the end.
class ScratchFolder {
public:
    ScratchFolder();
    ~ScratchFolder();
    ScratchFolder(const ScratchFolder&) = delete;
    ScratchFolder& operator=(const ScratchFolder&) = delete;

    /// The folder, without a separator at the end.
    const std::string& path() const { return m_path; }
    /// The path of @p name in the folder.
    std::string path(std::string_view name) const { return m_path + "/" + std::string(name); }
    /// Writes a file, with the folders above it. @return its path.
    std::string write(std::string_view name, std::string_view content) const;
    /// Makes a folder, with those above it. @return its path.
    std::string makeFolder(std::string_view name) const;
    /// The content of a file; fails the test when there is none.
    std::string read(std::string_view name) const;
    /// Whether there is anything of that name, were it a link to nowhere.
    bool has(std::string_view name) const;
    /// How many entries the folder has.
    int countEntries() const;

private:
    std::string m_path;
};

} // namespace qel::test
