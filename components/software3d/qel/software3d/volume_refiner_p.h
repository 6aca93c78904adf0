// Pictures of volumes that are coarse at first and become exact in the background.
#pragma once

#include <qel/foundation/base/containers.h>
#include <qel/foundation/base/smart_pointer.h>
#include <qel/foundation/base/weak_pointer.h>
#include <qel/software3d/refinement_queue_p.h>

#include <memory>

namespace qel::internal {

/// Draws volumes for SoftwareRenderer3D. For each actor and viewport of a target it keeps a view: the last
/// picture, and what it was computed for. An actor that is drawn several times in a frame has several views.
/// A view that is drawn again without a change only puts its picture on the target. Otherwise a coarse
/// picture is computed at once and refined in the background; new parts are added to the picture in a pass of
/// the System, which asks for a frame.
/// @threads main thread.
class VolumeRefiner final : private PointerOwner {
public:
    /// Creates a refiner that ends with the System, which exists.
    VolumeRefiner();
    /// Waits for the rows that are being computed.
    ~VolumeRefiner() override;
    VolumeRefiner(const VolumeRefiner&) = delete;
    VolumeRefiner& operator=(const VolumeRefiner&) = delete;

    /// Returns true if the System has ended; nothing can be drawn then.
    bool isClosed() const { return m_queue->isClosed(); }
    /// Begins a frame: drops views that were not drawn for many frames.
    void beginFrame();
    /// Draws the best known picture of a volume.
    /// @param actor  identifies the volume; it is not accessed.
    /// @return false, with nothing drawn, if this frame has used all pictures that an actor may have.
    bool draw(const void* actor, VolumeDraw& draw, Image& target, const DepthBuffer& depth);
    /// Returns true if the pictures of all views are exact.
    bool isRefined() const;
    /// Returns when everything is computed.
    void waitRefined();

private:
    struct View {
        const void* actor = nullptr;
        IVec4<int> viewport{};
        WeakPointer<Image> target{}; ///< identifies the pane; the picture fits other targets too
        uint64 lastFrame = 0;
        ByteKey key{};
        std::shared_ptr<const DepthArea> depths{};
        std::shared_ptr<const TransferTable> tables[2]{}; ///< keep the addresses in the key valid
        std::shared_ptr<Preparation> preparation{};
        VolumePicture picture{};
        ViewRefinement* refinement = nullptr; ///< belongs to the queue; null if the picture is exact

        /// Returns true if the picture is that of @p wanted and of the depths in its area.
        bool shows(const ByteKey& wanted, const DepthBuffer& depth) const {
            return depths != nullptr && key == wanted && depths->matches(depth);
        }
    };

    void onWeakPointerCleared(void* ownerData) override;
    void close();
    View* viewFor(const void* actor, const IVec4<int>& viewport, Image& target, const ByteKey& key,
                  const DepthBuffer& depth);
    bool isReusable(const View& view, const Image& target) const;
    void restart(View& view, VolumeDraw& draw);
    void prepare(View& view, VolumeDraw& draw);
    void drop(View& view);
    bool update(View& view);
    void publish();

    const SmartPointer<RefinementQueue> m_queue;
    WeakPointer<TaskQueue> m_queueOfSystem; ///< is cleared at the end of the System, before the workers end
    Vector<std::unique_ptr<View>> m_views;
    uint64 m_frame = 0;
};

} // namespace qel::internal
