// Runs the viewer with English texts, the resources of the source tree and a small volume.
#pragma once

#include <tests/hosts/desktop_fixture.h>
#include <tests/support/source_dir.h>

#include <cstdint>
#include <functional>
#include <string>

namespace qel::test {

/// Returns an NRRD file of 16-bit numbers in patient coordinates, with x to the left, y to the back and z
/// to the head.
/// @param spacing  millimetres between voxels, such as "1" or "0.5".
/// @param valueAt  returns the value of a voxel.
inline std::string smallVolume(int width, int height, int depth, const std::string& spacing,
                               const std::function<int(int, int, int)>& valueAt) {
    const auto text = [](int number) { return std::to_string(number); };
    std::string file =
        "NRRD0004\ntype: short\ndimension: 3\nspace: left-posterior-superior\nsizes: " + text(width) + " " +
        text(height) + " " + text(depth) + "\nspace directions: (" + spacing + ",0,0) (0," + spacing +
        ",0) (0,0," + spacing + ")\nspace origin: (0,0,0)\nendian: little\nencoding: raw\n\n";
    for (int z = 0; z < depth; ++z)
        for (int y = 0; y < height; ++y)
            for (int x = 0; x < width; ++x) {
                const auto value = static_cast<uint16_t>(static_cast<int16_t>(valueAt(x, y, z)));
                file += static_cast<char>(value & 0xff);
                file += static_cast<char>(value >> 8);
            }
    return file;
}

/// Returns the program and its first arguments. @param size  such as "600x400".
inline std::vector<std::string> viewerCommand(const std::string& size) {
    return {QELVIEWER_PROGRAM, "--resources", sourceDir() + "/resources", "--language", "en", "--size", size};
}

/// Writes the volume "octant.nrrd": -1000 except for 1000 in a box that extends from the middle to the left
/// side, the front and the head.
inline void writeOctant(const ScratchFolder& folder) {
    folder.write("octant.nrrd", smallVolume(16, 16, 16, "1", [](int x, int y, int z) {
                     return x >= 8 && y < 10 && z >= 7 ? 1000 : -1000;
                 }));
}

/// The program and its folder, which contains the volume "octant.nrrd".
class QelviewerFixture : public DesktopFixture {
protected:
    QelviewerFixture() : DesktopFixture(viewerCommand("600x400")) { writeOctant(folder); }
    /// Writes the picture "a.png" of a file. @return the run.
    HostRun show(const std::string& file, std::vector<std::string> arguments = {}) const {
        arguments.insert(arguments.begin(), {file, "--screenshot", "a.png"});
        return run(arguments);
    }
    /// Returns the red channel of a pixel of the picture @p name.
    int redAt(const std::string& name, int x, int y) const { return load(name).getBytePointer(y)[x * 4]; }
};

} // namespace qel::test
