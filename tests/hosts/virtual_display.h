// VirtualDisplay: an X server in memory for programs with a window.
#pragma once

#include <qel/imaging/pixels/image.h>
#include <tests/hosts/child.h>
#include <tests/support/scratch_folder.h>

#include <optional>
#include <string>

namespace qel::test {

/// An X server of kWidth x kHeight pixels without a cursor and without the repetition of keys, which would
/// type letters twice on a busy machine. Programs that are started while it exists use it.
class VirtualDisplay {
public:
    static constexpr int kWidth = 900;
    static constexpr int kHeight = 600;

    /// Returns what is not installed of the server, a window manager and the tools that act as a user; empty
    /// if nothing is missing.
    static std::string getMissingProgram();
    /// Returns the display of the test program, which is started by the first call and ends with the program.
    static VirtualDisplay& shared();

    /// Returns true if the display shows @p picture, which is RGBA8 and opaque, at its top left corner.
    bool shows(const Image& picture) const { return !findDifference(picture); }
    /// Returns a pixel of the display that is not that of such a picture, or nothing.
    std::optional<IVec2<int>> findDifference(const Image& picture) const;

private:
    VirtualDisplay();

    ScratchFolder m_folder;
    Child m_server;
};

} // namespace qel::test
