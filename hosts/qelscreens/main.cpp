// qelscreens: a desktop host that shows what the scene can draw, or writes it as PNG files.
#include "options.h"
#include "page_writer.h"
#include "screens.h"

#include <hosts/shared/host_main.h>
#include <hosts/shared/standard_output.h>
#include <hosts/widgets/desktop_program.h>
#include <hosts/window/frame_loop.h>
#include <hosts/window/input_script.h>

#include <qel/files/file.h>
#include <qel/imaging/pixels/image.h>
#include <qel/system/core/system.h>

#include <memory>

namespace {

using namespace qelscreens;
using qelwindow::Window;

constexpr const char* kName = "qelscreens";
constexpr qel::uint64 kMostPixels = 1 << 26; // of a picture in the reader

/// Returns the stylesheet to watch: that of the command line, or the shipped one.
std::string stylesheetOf(const Options& options) {
    if (!options.style.empty()) return options.style;
    for (const std::string& folder : qelwidgets::resourceFolders(options.resources))
        if (qel::File::existsFile(folder + "/style-default.css")) return folder + "/style-default.css";
    return {};
}

/// Shows the pages until the window is closed, or writes them. @return the exit status.
int show(const Options& options, Window& window, const std::string& folder) {
    const qel::SmartPointer<Screens> screens(new Screens(stylesheetOf(options)));
    qelwindow::FrameLoop loop(window, *screens);
    screens->setTheme(&loop.getTheme());
    loop.getTheme().setUserScale(static_cast<float>(options.scalePercent) / 100);
    screens->adapt();
    screens->showPage(static_cast<size_t>(options.page - 1));
    std::string problem;
    if (!options.path.empty()) problem = screens->openInReader(options.path);
    if (!problem.empty()) qelhosts::complain(kName, problem);
    if (!problem.empty() && !folder.empty()) return 1;

    if (!options.events.empty()) {
        qelwindow::InputScript script(window, loop);
        problem = script.open(options.events);
        if (problem.empty()) problem = script.run();
    } else if (!folder.empty()) {
        problem = writePages(loop, *screens, folder);
    }
    if (!problem.empty()) qelhosts::complain(kName, problem);
    if (!problem.empty()) return 1;
    while (folder.empty() && !loop.hasEnded()) loop.pass();
    return qel::System::wasInterruptHandlerCalled() ? qelhosts::kInterruptedStatus : 0;
}

/// Runs the host. Frames that are written follow a clock that only the host moves, so that they are the same
/// each time.
int run(const Options& options) {
    std::string folder = options.frames;
    const std::unique_ptr<Window> window =
        qelwidgets::openWindow(kName, {options.width, options.height}, !folder.empty(), folder);
    if (!window) return 1;
    return qelwidgets::runDesktopProgram(kName, !folder.empty(), [&] {
        qelwidgets::addDesktopResources(qelwidgets::resourceFolders(options.resources), "screens-texts",
                                        options.language);
        qel::Image::setDecodeLimit(kMostPixels);
        return show(options, *window, folder);
    });
}

} // namespace

int main(int argc, char** argv) {
    Options options;
    return qelhosts::hostMain(argc, argv, options, [&] { return run(options); });
}
