#include <tests/support/scratch_folder.h>

#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <random>

namespace qel::test {

namespace fs = std::filesystem;

ScratchFolder::ScratchFolder() {
    std::random_device random;
    do {
        m_path = (fs::temp_directory_path() / ("qel-test-" + std::to_string(random()))).string();
    } while (!fs::create_directory(m_path));
}

ScratchFolder::~ScratchFolder() {
    std::error_code ignored;
    fs::remove_all(m_path, ignored);
}

std::string ScratchFolder::write(std::string_view name, std::string_view content) const {
    const std::string target = path(name);
    fs::create_directories(fs::path(target).parent_path());
    std::ofstream(target, std::ios::binary) << content;
    return target;
}

std::string ScratchFolder::makeFolder(std::string_view name) const {
    fs::create_directories(path(name));
    return path(name);
}

std::string ScratchFolder::read(std::string_view name) const {
    std::ifstream file(path(name), std::ios::binary);
    EXPECT_TRUE(file.is_open()) << path(name);
    return {std::istreambuf_iterator<char>(file), {}};
}

bool ScratchFolder::has(std::string_view name) const {
    return fs::symlink_status(path(name)).type() != fs::file_type::not_found;
}

int ScratchFolder::countEntries() const {
    return static_cast<int>(std::distance(fs::directory_iterator(m_path), fs::directory_iterator()));
}

} // namespace qel::test
