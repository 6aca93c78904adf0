#include "page_writer.h"

#include <hosts/shared/settings.h>
#include <hosts/shared/standard_output.h>

#include <qel/files/directory.h>

namespace qelscreens {

namespace {

constexpr qel::uint32 kSettleMs = 1500; // by then colours have glided and pictures have faded in

/// Runs passes until the page that is shown no longer changes by itself.
void settle(qelwindow::FrameLoop& loop, const Screens& screens) {
    while (!loop.hasEnded() && screens.isWorking()) loop.pass();
    loop.runFor(kSettleMs);
}

} // namespace

std::string writePages(qelwindow::FrameLoop& loop, Screens& screens, const std::string& folder) {
    if (!qel::Directory::createDirectoryRecursively(folder))
        return "cannot create the folder " + qelhosts::inQuotes(folder);
    for (size_t i = 0; i < screens.getPageCount() && !loop.hasEnded(); ++i) {
        screens.showPage(i);
        settle(loop, screens);
        const std::string name = std::to_string(i + 1) + "-" + screens.getPage(i).getName() + ".png";
        const std::string path = folder + "/" + name;
        if (const std::string problem = loop.saveFrame(path); !problem.empty()) return problem;
        qelhosts::print(path + "\n");
    }
    return {};
}

} // namespace qelscreens
