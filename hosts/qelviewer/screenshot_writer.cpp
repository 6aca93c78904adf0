#include "screenshot_writer.h"

#include <hosts/window/picture_file.h>

#include <qel/foundation/log/message_stream.h>
#include <qel/platform/file_system.h>

#include <cstdio>
#include <memory>

namespace qelviewer {

namespace {

constexpr int kMostPictures = 9999;

/// Returns true if nothing has this name, not even a link without a target.
bool isFree(const char* path) {
    qel::platform::FileStatus status;
    return qel::platform::readStatus(status, path, qel::platform::Links::Keep) ==
           std::errc::no_such_file_or_directory;
}

/// A picture on its way to a file.
struct Job {
    qel::Image picture;
    std::string path;
    std::string problem;

    void run() {
        path = findName();
        problem =
            path.empty() ? "there is no free name for a picture" : qelwindow::writePicture(picture, path);
        if (!problem.empty()) qel::logging::warning() << problem.c_str();
    }
    static std::string findName() {
        for (int i = 1; i <= kMostPictures; ++i) {
            char name[32];
            std::snprintf(name, sizeof(name), "qelviewer-%04d.png", i);
            if (isFree(name)) return name;
        }
        return {};
    }
};

} // namespace

void ScreenshotWriter::write(qel::Image&& picture) {
    const auto job = std::make_shared<Job>();
    job->picture = std::move(picture);
    m_isWriting = true;
    m_queue.push([job] { job->run(); },
                 [this, job] {
                     m_isWriting = false;
                     m_finished(job->path, job->problem);
                 });
}

} // namespace qelviewer
