// qelviewer: a desktop host that shows a volume in slices and in 3D, or writes pictures of it.
#include "options.h"
#include "picture_writer.h"
#include "viewer.h"

#include <hosts/shared/host_main.h>
#include <hosts/shared/standard_output.h>
#include <hosts/widgets/desktop_program.h>
#include <hosts/window/frame_loop.h>
#include <hosts/window/input_script.h>

#include <qel/system/core/system.h>

#include <memory>

namespace {

using namespace qelviewer;
using qelwindow::Window;

constexpr const char* kName = "qelviewer";

/// Plays simulated input and writes the pictures that the options ask for. @return what went wrong; empty on
/// success.
std::string writeOrPlay(const Options& options, Window& window, qelwindow::FrameLoop& loop, Viewer& viewer) {
    if (!options.events.empty()) {
        qelwindow::InputScript script(window, loop);
        const std::string problem = script.open(options.events);
        if (!problem.empty()) return problem;
        if (const std::string wrong = script.run(); !wrong.empty()) return wrong;
    }
    if (!options.screenshot.empty() && !loop.hasEnded())
        if (const std::string problem = writePicture(loop, viewer, options.screenshot); !problem.empty())
            return problem;
    const bool writesAllPages = options.events.empty() && !options.frames.empty();
    return writesAllPages ? writePages(loop, viewer, options.frames) : std::string();
}

/// Shows the volume until the window is closed, or writes pictures. @return the exit status.
int show(const Options& options, Window& window) {
    const qel::SmartPointer<Viewer> viewer(
        new Viewer(options, qelwidgets::resourceFolders(options.resources)));
    qelwindow::FrameLoop loop(window, *viewer);
    viewer->connect(loop.getTheme(), [&loop](qel::Image& picture) { return loop.copyFrame(picture); });
    loop.getTheme().setUserScale(static_cast<float>(options.scalePercent) / 100);
    viewer->adapt();
    viewer->setProgressive(window.isOnDisplay());
    viewer->loadFirst(options);
    std::string problem;
    if (!window.isOnDisplay() || !options.events.empty())
        problem = waitForVolume(loop, *viewer, window.isOnDisplay());
    if (problem.empty() || window.isOnDisplay()) {
        const std::string failure = writeOrPlay(options, window, loop, *viewer);
        if (!failure.empty()) problem = failure;
    }
    if (!problem.empty()) {
        qelhosts::complain(kName, problem);
        if (!window.isOnDisplay() || !options.events.empty()) return 1;
    }
    while (window.isOnDisplay() && !loop.hasEnded()) loop.pass();
    viewer->finishScreenshot();
    return qel::System::wasInterruptHandlerCalled() ? qelhosts::kInterruptedStatus : 0;
}

int run(Options& options) {
    const bool writesPictures = !options.frames.empty() || !options.screenshot.empty();
    const std::unique_ptr<Window> window =
        qelwidgets::openWindow(kName, {options.width, options.height}, writesPictures, options.frames);
    if (!window) return 1;
    return qelwidgets::runDesktopProgram(kName, !window->isOnDisplay(), [&] {
        qelwidgets::addDesktopResources(qelwidgets::resourceFolders(options.resources), "viewer-texts",
                                        options.language);
        return show(options, *window);
    });
}

} // namespace

int main(int argc, char** argv) {
    Options options;
    return qelhosts::hostMain(argc, argv, options, [&] { return run(options); });
}
