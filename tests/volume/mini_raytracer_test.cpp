#include <tests/support/picture_test.h>
#include <tests/support/system_fixture.h>

#include <qel/imaging/pixels/image.h>
#include <qel/system/tasks/task_queue.h>
#include <qel/testing/simd.h>

#include <string>
#include <vector>

namespace qel {
namespace {

std::vector<uint8> bytesOf(const Image& image) {
    return {image.getBytePointer(), image.getBytePointer() + image.getByteSize()};
}

class MiniRaytracerPictures : public test::SystemFixture {
protected:
    /// Advances the clock to a time and makes @p image the small picture.
    void traceAt(uint32 milliseconds, Image& image) {
        clock.advanceMs(static_cast<int64>(milliseconds - system().getTime()));
        EXPECT_GT(image.synthesize(true), 0u);
    }
    /// Returns the bytes of the small picture at a time.
    std::vector<uint8> pictureAt(uint32 milliseconds) {
        Image image;
        traceAt(milliseconds, image);
        return bytesOf(image);
    }
};

TEST_F(MiniRaytracerPictures, ThePicturesAreTheSameOnEveryProcessor) {
    for (const uint32 time : {14000u, 33000u, 52000u, 85000u, 118000u}) {
        Image image;
        traceAt(time, image);
        EXPECT_EQ(image.getSize(), IVec2<int>(120, 70));
        test::expectImage("tests/volume/pictures.txt", "raytrace-" + std::to_string(time), image);
    }
}

TEST_F(MiniRaytracerPictures, EveryKindOfVectorTracesTheSamePicture) {
    const std::vector<uint8> best = pictureAt(33000);
    for (const std::string& target : seams::simdTargets()) {
        seams::setSimdTarget(target);
        EXPECT_EQ(pictureAt(33000), best) << target;
    }
    seams::setSimdTarget("");
}

TEST_F(MiniRaytracerPictures, TheLoopRepeatsAfter131072Milliseconds) {
    const std::vector<uint8> first = pictureAt(5000);
    EXPECT_NE(pictureAt(9000), first);
    EXPECT_EQ(pictureAt(5000 + 131072), first);
}

TEST_F(MiniRaytracerPictures, TheBytesDoNotDependOnThreads) {
    clock.advanceMs(static_cast<int64>(131072 - system().getTime()));
    Image parallel;
    const unsigned rays = parallel.synthesize(true);
    System::deinitialize(); // without a System, everything runs on the calling thread at time 0
    Image alone;
    EXPECT_EQ(alone.synthesize(true), rays);
    EXPECT_EQ(bytesOf(alone), bytesOf(parallel));
}

TEST_F(MiniRaytracerPictures, AllWorkersMayTraceAtTheSameTime) {
    const unsigned tasks = 2 * system().getProcessorCount() + 2;
    std::vector<Image> images(tasks);
    TaskQueue* const queue = system().getGlobalParallelQueue();
    for (Image& image : images)
        queue->pushTask(new TaskQueue::LambdaNoContextTask([&image] { image.synthesize(true); }), 0);
    queue->wait();
    for (const Image& image : images) EXPECT_EQ(bytesOf(image), bytesOf(images[0]));
}

} // namespace
} // namespace qel
