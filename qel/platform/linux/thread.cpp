#include <qel/platform/thread.h>

#include <qel/platform/seams_p.h>

#include <system_error>
#include <utility>

namespace qel::platform {

std::thread startThread(std::function<void()> work) {
    if (const FileError forced = forcedFault(Operation::StartThread)) throw std::system_error(forced);
    return std::thread(std::move(work));
}

} // namespace qel::platform
