// Runs the picture tool in a scratch folder.
#pragma once

#include <qel/foundation/base/buffer.h>
#include <qel/imaging/pixels/image.h>
#include <tests/hosts/host_run.h>

#include <gmock/gmock.h>

#include <filesystem>
#include <string>
#include <vector>

namespace qel::test {

/// A picture whose pixels differ: red is the column and green the row.
inline Image makePicture(int width, int height, uint8 alpha = 255) {
    Image image(RGBA8, {width, height});
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            uint8* pixel = image.getBytePointer(y) + 4 * x;
            pixel[0] = static_cast<uint8>(x);
            pixel[1] = static_cast<uint8>(y);
            pixel[2] = 200;
            pixel[3] = alpha;
        }
    }
    return image;
}

/// The program, its folder, and the pictures in it.
class QelimageFixture : public ::testing::Test {
protected:
    HostRun run(const std::vector<std::string>& arguments) const {
        std::vector<std::string> command{QELIMAGE_PROGRAM};
        command.insert(command.end(), arguments.begin(), arguments.end());
        return runProgram(folder, command);
    }
    /// Runs a command line of the shell, in which `qelimage` is the program.
    HostRun shell(const std::string& line) const {
        return runProgram(folder,
                          {"/bin/sh", "-c", "qelimage() { \"$0\" \"$@\"; }\n" + line, QELIMAGE_PROGRAM});
    }
    void save(const Image& image, const std::string& name) const {
        const std::filesystem::path path = folder.path(name);
        std::filesystem::create_directories(path.parent_path());
        ASSERT_TRUE(image.saveTo(path.c_str()));
    }
    Image load(const std::string& name) const {
        Image image;
        EXPECT_TRUE(image.loadFromFile(folder.path(name).c_str())) << name;
        return image;
    }
    std::vector<std::string> names() const {
        std::vector<std::string> found;
        for (const auto& entry : std::filesystem::directory_iterator(folder.path()))
            found.push_back(entry.path().filename());
        std::erase(found, "stdout.txt");
        std::erase(found, "stderr.txt");
        return found;
    }

    ScratchFolder folder;
};

/// Returns the bytes of a PNG file whose checksum is wrong.
inline std::string brokenPng() {
    Buffer bytes;
    EXPECT_TRUE(makePicture(3, 2).saveToMemory(bytes, Image::Encoding::Png));
    bytes[bytes.getSize() - 20] ^= 1;
    return std::string(bytes.getConstByteSpan().asText());
}

/// Returns the header of a PNG file with 100,000 by 100,000 pixels.
inline std::string hugePng() {
    const std::string_view header(
        "\x89PNG\r\n\x1a\n\0\0\0\rIHDR\0\1\x86\xa0\0\1\x86\xa0\x08\6\0\0\0\xbf\x81\x19\xb3", 33);
    return std::string(header) + std::string(100, 'x');
}

} // namespace qel::test
