#include "picture_writer.h"

#include <hosts/shared/settings.h>
#include <hosts/shared/standard_output.h>

#include <qel/files/directory.h>

#include <chrono>
#include <thread>
#include <utility>

namespace qelviewer {

namespace {

constexpr std::pair<Page, const char*> kPages[] = {
    {Page::Slices, "slices.png"}, {Page::Volume, "volume.png"}, {Page::All, "all.png"}};

constexpr std::chrono::milliseconds kPause{2};

} // namespace

std::string waitForVolume(qelwindow::FrameLoop& loop, Viewer& viewer, bool isOnDisplay) {
    while (!isOnDisplay && viewer.isReading() && !loop.hasEnded()) std::this_thread::sleep_for(kPause);
    while (viewer.isWorking() && !loop.hasEnded()) isOnDisplay ? loop.pass() : loop.pass(0);
    return viewer.getProblem();
}

std::string writePicture(qelwindow::FrameLoop& loop, const Viewer& viewer, const std::string& path) {
    if (viewer.isSource(path)) return "the picture would replace the volume " + qelhosts::inQuotes(path);
    return loop.saveFrame(path);
}

std::string writePages(qelwindow::FrameLoop& loop, Viewer& viewer, const std::string& folder) {
    if (!qel::Directory::createDirectoryRecursively(folder))
        return "cannot create the folder " + qelhosts::inQuotes(folder);
    for (const auto& [page, name] : kPages) {
        if (loop.hasEnded()) return {};
        viewer.showPage(page);
        const std::string path = folder + "/" + name;
        if (const std::string problem = writePicture(loop, viewer, path); !problem.empty()) return problem;
        qelhosts::print(path + "\n");
    }
    return {};
}

} // namespace qelviewer
