// Runs the screens with English texts and the resources of the source tree.
#pragma once

#include <tests/hosts/desktop_fixture.h>
#include <tests/support/source_dir.h>

namespace qel::test {

/// Returns the program and its first arguments.
inline std::vector<std::string> screensCommand() {
    return {
        QELSCREENS_PROGRAM, "--resources", sourceDir() + "/resources", "--language", "en", "--width", "900",
        "--height",         "600"};
}

/// The program and its folder.
class QelscreensFixture : public DesktopFixture {
protected:
    QelscreensFixture() : DesktopFixture(screensCommand()) {}
};

} // namespace qel::test
