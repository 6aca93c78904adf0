#include <qel/imaging/io/dummy_camera.h>
#include <qel/plugins/resource_locator.h>
#include <tests/support/log_capture.h>
#include <tests/support/scratch_folder.h>
#include <tests/support/system_fixture.h>

#include <gtest/gtest.h>

#include <filesystem>

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

TEST_F(CameraTest, RatesOutsideTheRangeAreLimited) {
    for (const auto& [rate, period] : {std::pair{0, 1000u}, {-5, 1000u}, {1, 1000u}, {1001, 0u}}) {
        const SmartPointer<Camera> camera = create(rate);
        camera->control(Camera::Command::Start);
        passAfter(2000);
        EXPECT_EQ(lastPeriod, period) << rate;
    }
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

TEST_F(CameraTest, WithoutAnIconFramesAreUninitialised) {
    std::filesystem::remove(folder.path("icon-product-appicon.png"));
    LogCapture log;
    const SmartPointer<Camera> camera = create(10);
    camera->control(Camera::Command::Start);
    passAfter(1000);
    ASSERT_EQ(frames.size(), 1u);
    EXPECT_FALSE(frames[0]->isInitialized());
    log.expect(3, "can not load image file: icon-product-appicon.png");
}

TEST_F(CameraTest, CommandsSetTheModes) {
    const SmartPointer<Camera> camera = create(10);
    camera->control(Camera::Command::LockExposure);
    EXPECT_EQ(camera->exposureMode, ExposureMode::Locked);
    camera->control(Camera::Command::LockWhiteBalance);
    EXPECT_EQ(camera->whiteBalanceMode, WhiteBalanceMode::Locked);
    camera->control(Camera::Command::UnlockExposure);
    EXPECT_EQ(camera->exposureMode, ExposureMode::Auto);
    EXPECT_EQ(camera->whiteBalanceMode, WhiteBalanceMode::Locked);
    for (const auto& [number, mode] : {std::pair{9, 1}, {10, 0}, {11, 2}, {7, 2}, {99, 2}}) {
        camera->control(static_cast<Camera::Command>(number));
        EXPECT_EQ(static_cast<int>(camera->flashMode), mode) << number;
    }
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
