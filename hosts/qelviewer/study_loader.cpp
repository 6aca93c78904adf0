#include "study_loader.h"

#include <hosts/qelviewer/volume/phantom.h>
#include <hosts/qelviewer/volume/volume_file.h>

#include <qel/files/directory.h>
#include <qel/files/file.h>
#include <qel/foundation/log/message_stream.h>
#include <qel/render/renderer_3d.h>
#include <qel/volume/volume_loader.h>

#include <exception>
#include <filesystem>
#include <utility>

namespace qelviewer {

namespace {

constexpr int kHistogramBins = 1024;

/// Computes the sample volume if it does not exist. @return what went wrong; empty on success.
std::string provideSample(const std::string& path, LoadProgress& progress) {
    if (qel::File::existsFile(path)) return {};
    const std::filesystem::path folder = std::filesystem::path(path).parent_path();
    if (!folder.empty() && !qel::Directory::createDirectoryRecursively(folder.string()))
        return "cannot create the folder '" + folder.string() + "'";
    return writePhantom(path, kPhantomVoxels, progress);
}

} // namespace

/// Shared by the main thread and the worker, which writes the study and the problem before the main thread
/// reads them.
struct StudyLoader::Job {
    std::string path;
    bool isSample = false;
    bool mustKeepSample = false;
    qel::Renderer3D* renderer = nullptr;
    StudyLoader* owner = nullptr; ///< used by the main thread only; null after the request was replaced
    LoadProgress progress[3];     ///< the sample, the file and the values
    std::shared_ptr<Study> study;
    std::string problem;

    void run() {
        try {
            load();
        } catch (const std::exception& error) { // such as too little memory
            problem = "cannot load '" + path + "': " + error.what();
        }
        if (!problem.empty()) study = nullptr;
    }
    void load() {
        study = std::make_shared<Study>();
        study->isSample = isSample;
        qel::VolumeLoader loader(renderer);
        problem = isSample ? loadSample(loader) : loadVolume(path, loader, study->header, progress[1]);
        study->volume = dynamic_cast<qel::SoftwareVolumeTexture*>(loader.getScalarTexture().get());
        if (problem.empty() && !(study->volume && study->volume->getVoxels()))
            problem = "the volume has no voxels: '" + path + "'";
        if (problem.empty())
            study->histogram =
                countValues(*study->volume, study->header.scaleBias, kHistogramBins, progress[2]);
    }
    /// Loads the file with the sample volume. If it cannot be written or read, the volume is computed without
    /// it; one that cannot be read is removed, so that the next start writes it again.
    std::string loadSample(qel::VolumeLoader& loader) {
        std::string failure = provideSample(path, progress[0]);
        const bool isProvided = failure.empty();
        if (isProvided) failure = loadVolume(path, loader, study->header, progress[1]);
        if (failure.empty() || mustKeepSample || progress[0].isCancelled) return failure;
        if (isProvided) qel::File::deleteFile(path, true);
        qel::logging::warning() << "the sample volume is not kept: " << failure.c_str();
        const std::string failed = loadPhantom(kPhantomVoxels, loader, study->header, progress[1]);
        study->header.path = path;
        return failed;
    }
};

StudyLoader::StudyLoader(qel::Renderer3D* renderer, Finished finished)
    : m_renderer(renderer), m_finished(std::move(finished)) {}

StudyLoader::~StudyLoader() {
    cancel();
}

void StudyLoader::cancel() {
    if (!m_job) return;
    m_job->owner = nullptr;
    for (LoadProgress& progress : m_job->progress) progress.isCancelled = true;
    m_job = nullptr;
}

void StudyLoader::load(const std::string& path) {
    cancel();
    m_job = std::make_shared<Job>();
    m_job->path = path;
    start();
}

void StudyLoader::loadSample(const std::string& path, bool mustBeKept) {
    cancel();
    m_job = std::make_shared<Job>();
    m_job->path = path;
    m_job->isSample = true;
    m_job->mustKeepSample = mustBeKept;
    start();
}

void StudyLoader::start() {
    m_job->renderer = m_renderer;
    m_job->owner = this;
    m_queue.push([job = m_job] { job->run(); },
                 [job = m_job] {
                     if (!job->owner) return;
                     StudyLoader& owner = *job->owner;
                     owner.m_job = nullptr;
                     owner.m_finished(std::move(job->study), job->problem);
                 });
}

float StudyLoader::getShare() const {
    if (!m_job) return 1;
    const float sample = m_job->isSample && m_job->progress[0].share > 0 ? 0.5f : 0;
    const float rest = 1 - sample;
    return sample * m_job->progress[0].share +
           rest * (0.9f * m_job->progress[1].share + 0.1f * m_job->progress[2].share);
}

} // namespace qelviewer
