// PictureLoader: decodes pictures in the background.
#pragma once

#include <qel/foundation/base/object.h>
#include <qel/foundation/base/smart_pointer.h>
#include <qel/render/sprite.h>

#include <memory>
#include <string>

namespace qelscreens {

/// Decodes one picture at a time on a worker. A request replaces the one before, which is not decoded any
/// more unless the worker has begun.
/// @threads main thread.
class PictureLoader {
public:
    PictureLoader() = default;
    PictureLoader(const PictureLoader&) = delete;
    PictureLoader& operator=(const PictureLoader&) = delete;
    ~PictureLoader();

    /// Starts to load the file @p path.
    void load(const std::string& path);
    /// Returns true while a picture is being loaded.
    bool isLoading() const { return m_pending != nullptr; }
    /// Takes over the picture if it is complete. @return true if it was completed, well or not, since the
    /// last call.
    bool update();
    /// Returns the picture of the last completed load; null if it failed.
    qel::Sprite* getSprite() const { return m_sprite.get(); }
    /// Returns why the last completed load failed; empty if it did not.
    const std::string& getProblem() const { return m_problem; }

private:
    struct Job;

    void dropPending();

    std::shared_ptr<Job> m_pending;
    qel::SmartPointer<qel::Sprite> m_sprite;
    std::string m_problem;
};

} // namespace qelscreens
