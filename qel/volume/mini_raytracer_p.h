// MiniRaytracer: the kernel that renders the picture of Image::synthesize().
#pragma once

#include <qel/foundation/base/containers.h>
#include <qel/imaging/pixels/image.h>
#include <qel/system/core/parallel_kernel.h>
#include <qel/volume/mini_scene_p.h>

namespace qel {

/// Traces a picture in three stages, each a run of the kernel: the picture itself, samples at the corners
/// between pixels that differ, and a picture of twice the size that uses both.
///
/// During the first two stages the fourth byte of a pixel identifies what its ray has seen. Pixels between
/// two with the same byte are interpolated instead of traced. The division into parts depends on the size
/// alone, so that the picture is the same for any number of threads.
class MiniRaytracer final : public ParallelKernel {
public:
    /// Traces into @p target, a BGRA8 image. @param time  0 to 1, the place in the loop of the animation.
    MiniRaytracer(Image& target, double time);

    /// Runs all stages. @return the number of rays traced.
    unsigned run();

    void prepare(unsigned& parts) override;
    void execute(unsigned part) override;

private:
    enum class Stage { Picture, Edges, Double };
    struct Sample {
        internal::Float3 color;
        uint8 hash;
    };
    /// What a part has counted, on a cache line of its own.
    struct alignas(64) Counter {
        unsigned rays = 0;
    };

    /// The rows that become two rows of the large picture.
    struct DoubledRow {
        const uint8* pixels;
        const uint8* below;
        const uint8* edgesAbove;
        const uint8* edgesBelow;
        uint8* upper;
        uint8* lower;
    };

    void runStage(Stage stage);
    void tracePicture(unsigned part);
    void traceRow(int y, unsigned phase, unsigned& rays);
    void fillRowBetween(int y, unsigned& rays);
    void traceEdges(unsigned part);
    void doubleRows(unsigned part);
    static void doublePixel(const DoubledRow& row, int x);
    void tracePixel(int x, int y, uint8* pixel, unsigned& rays) const;
    Sample trace(float x, float y, unsigned& rays) const;
    float baseLight(const internal::Float3& point) const;
    float lampLight(const internal::Float3& point, const internal::Float3& normal, float throughput,
                    unsigned& rays) const;
    float halo(const internal::Ray& ray, float segment, float throughput, bool isPrimary) const;
    int firstRow(unsigned part, int rows) const;

    Image& m_target;
    Image m_edges; ///< the samples at corners; a fourth byte of 1 where there is one
    Image m_spare; ///< the picture of the first stage, during the last
    internal::MiniScene m_scene;
    IVec2<int> m_centre;
    internal::Float3 m_camera, m_light, m_forward, m_right, m_up;
    Stage m_stage = Stage::Picture;
    unsigned m_parts = 1;
    Vector<Counter> m_counters;
};

} // namespace qel
