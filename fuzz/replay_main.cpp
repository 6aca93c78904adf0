// Runs a fuzz target on every file of the folders named on the command line, in the order of their names.
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

extern "C" {
int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);
std::size_t LLVMFuzzerMutate(std::uint8_t* data, std::size_t size, std::size_t maxSize);

/// The mutators of targets call libFuzzer's; in a replay nothing is mutated.
std::size_t LLVMFuzzerMutate(std::uint8_t*, std::size_t size, std::size_t) {
    return size;
}
}

namespace {

std::vector<std::filesystem::path> filesOf(const char* folder) {
    std::vector<std::filesystem::path> files;
    std::error_code error;
    for (const auto& entry : std::filesystem::directory_iterator(folder, error)) {
        if (entry.is_regular_file()) files.push_back(entry.path());
    }
    std::sort(files.begin(), files.end());
    return files;
}

void replay(const std::filesystem::path& file) {
    std::ifstream stream(file, std::ios::binary);
    const std::vector<char> bytes{std::istreambuf_iterator<char>(stream), {}};
    std::fprintf(stderr, "%s: %zu bytes\n", file.filename().c_str(), bytes.size());
    LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size());
}

} // namespace

int main(int argc, char** argv) {
    std::size_t count = 0;
    for (int i = 1; i < argc; ++i) {
        for (const auto& file : filesOf(argv[i])) {
            replay(file);
            ++count;
        }
    }
    if (count == 0) std::fprintf(stderr, "nothing to replay\n");
    return count > 0 ? 0 : 1;
}
