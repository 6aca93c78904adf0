#include <tests/hosts/virtual_display.h>

#include <qel/platform/process_run.h>

#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>

namespace qel::test {

namespace {

constexpr size_t kPixelBytes = 4; // of the display: blue, green, red, and one that is unused

std::vector<std::string> serverCommand(const std::string& folder) {
    const std::string screen =
        std::to_string(VirtualDisplay::kWidth) + "x" + std::to_string(VirtualDisplay::kHeight) + "x24";
    return {"Xvfb", "-displayfd", "1",         "-screen", "0",        screen, "-fbdir", folder,
            "-r",   "-nocursor",  "-nolisten", "tcp",     "-noreset", "-s",   "0"};
}

/// Returns the first pixel of a row that is not that of a picture, or its width.
int findDifferenceInRow(const std::string& pixels, int y, const Image& picture) {
    const uint8* expected = picture.getBytePointer(y);
    size_t at = static_cast<size_t>(y) * VirtualDisplay::kWidth * kPixelBytes;
    for (int x = 0; x < picture.getWidth(); ++x, expected += 4, at += kPixelBytes)
        for (size_t i = 0; i < 3; ++i)
            if (static_cast<uint8>(pixels[at + 2 - i]) != expected[i]) return x;
    return picture.getWidth();
}

} // namespace

std::string VirtualDisplay::getMissingProgram() {
    for (const char* const name : {"Xvfb", "matchbox-window-manager", "xdotool", "wmctrl", "xclip"})
        if (platform::findProgram(name).empty()) return name;
    return {};
}

VirtualDisplay& VirtualDisplay::shared() {
    static VirtualDisplay display;
    return display;
}

/// The server prints the number of the free display that it has found.
VirtualDisplay::VirtualDisplay() : m_server(serverCommand(m_folder.path()), m_folder.path()) {
    std::string number;
    while (m_server.readLine(number) && number.find_first_not_of("0123456789") != number.npos) {
    }
    EXPECT_NE(number, "") << m_server.getOutput();
    ::setenv("DISPLAY", (":" + number).c_str(), 1);
    ::unsetenv("WAYLAND_DISPLAY");
    ::unsetenv("SDL_VIDEODRIVER");
}

/// The server keeps its pixels at the end of a file.
std::optional<IVec2<int>> VirtualDisplay::findDifference(const Image& picture) const {
    if (picture.getWidth() > kWidth || picture.getHeight() > kHeight) return {{kWidth, kHeight}};
    std::string pixels(kPixelBytes * kWidth * kHeight, '\0');
    std::ifstream file(m_folder.path("Xvfb_screen0"), std::ios::binary);
    file.seekg(-static_cast<std::streamoff>(pixels.size()), std::ios::end);
    if (!file.read(pixels.data(), static_cast<std::streamsize>(pixels.size()))) return {{0, 0}};
    for (int y = 0; y < picture.getHeight(); ++y)
        if (const int x = findDifferenceInRow(pixels, y, picture); x < picture.getWidth()) return {{x, y}};
    return std::nullopt;
}

} // namespace qel::test
