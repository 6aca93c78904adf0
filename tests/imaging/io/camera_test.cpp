#include <qel/imaging/io/dummy_camera.h>
#include <qel/plugins/resource_locator.h>
#include <tests/support/scratch_folder.h>
#include <tests/support/system_fixture.h>

#include <gtest/gtest.h>

using namespace qel;
using namespace qel::test;

namespace {

class CameraTest : public SystemFixture {
protected:
    void SetUp() override {
        SystemFixture::SetUp();
        Image icon(RGBA8, {3, 2});
        for (size_t i = 0; i < icon.getByteSize(); ++i) icon.getBytePointer()[i] = static_cast<uint8>(i);
        ASSERT_TRUE(icon.saveTo(folder.path("icon-product-appicon.png").c_str()));
        system().getResourceLocator()->addResourceDirectory(folder.path());
    }

    SmartPointer<Camera> create(int framesPerSecond) {
        CameraParameters parameters;
        parameters.framesPerSecond = framesPerSecond;
        SmartPointer<Camera> camera(system().delegateCreateCamera(parameters));
        camera->frameSignal.connect([this](unsigned period, SmartPointer<Image> frame) {
            lastPeriod = period;
            frames.push_back(frame);
        });
        return camera;
    }

    const ScratchFolder folder;
    unsigned lastPeriod = 0;
    Vector<SmartPointer<Image>> frames;
};

} // namespace

TEST_F(CameraTest, FramesFollowAtTheirRate) {
    EXPECT_TRUE(system().delegateCameraList().empty());
    const SmartPointer<Camera> camera = create(25);
    passAfter(100);
    EXPECT_TRUE(frames.empty()) << "not started";
    camera->control(Camera::Command::Start);
    passAfter(1);
    ASSERT_EQ(frames.size(), 1u);
    passAfter(39);
    EXPECT_EQ(frames.size(), 1u);
    passAfter(1);
    EXPECT_EQ(frames.size(), 2u);
    EXPECT_EQ(lastPeriod, 40u);
    camera->control(Camera::Command::Stop);
    passAfter(100);
    EXPECT_EQ(frames.size(), 2u);
}

TEST_F(CameraTest, FramesAndPhotosAreCopiesOfTheIcon) {
    const SmartPointer<Camera> camera = create(1000);
    SmartPointer<Image> photo;
    camera->photoSignal.connect([&](SmartPointer<Image> taken) { photo = taken; });
    camera->control(Camera::Command::TakePhoto);
    camera->control(Camera::Command::Start);
    passAfter(1);
    passAfter(1);
    ASSERT_TRUE(photo);
    ASSERT_EQ(frames.size(), 2u);
    EXPECT_EQ(photo->getBytePointer()[5], 5);
    EXPECT_NE(frames[0]->getBytePointer(), frames[1]->getBytePointer());
}

TEST_F(CameraTest, AReceiverMayDropTheCamera) {
    SmartPointer<Camera> camera = create(10);
    camera->frameSignal.connect([&](unsigned, SmartPointer<Image>) { camera = nullptr; });
    camera->control(Camera::Command::Start);
    passAfter(1000);
    passAfter(1000);
    EXPECT_FALSE(camera);
    EXPECT_EQ(frames.size(), 1u);
}
