// A host that draws a volume by a component of the library: a ball in the middle of the picture.
#include <qel/qel.h>
#include <qel/software3d/software_renderer_3d.h>

#include <cstddef>
#include <cstdio>
#include <vector>

namespace {

constexpr int kSize = 32;

qel::SmartPointer<qel::VolumeTexture> createBall(qel::SoftwareRenderer3D& renderer) {
    std::vector<qel::uint16> voxels;
    for (int i = 0; i < kSize * kSize * kSize; ++i) {
        const int x = 2 * (i % kSize) - kSize, y = 2 * (i / kSize % kSize) - kSize;
        const int z = 2 * (i / kSize / kSize) - kSize;
        voxels.push_back(x * x + y * y + z * z < kSize * kSize / 2 ? 1000 : 0);
    }
    qel::SmartPointer<qel::VolumeTexture> texture = renderer.createVolumeTexture();
    texture->initialize(qel::UInt16, {kSize, kSize, kSize});
    texture->uploadData(0, kSize, qel::UInt16, voxels.data());
    return texture;
}

void draw(qel::Image& image) {
    const auto renderer = qel::makeObject<qel::SoftwareRenderer3D>();
    renderer->setRenderTarget(&image);
    const qel::SmartPointer<qel::VolumeTexture> ball = createBall(*renderer);
    qel::VolumeMaterial red;
    red.setColorCurve({{0, {1, 0, 0}}}).setOpacityCurve({{500, 0}, {1000, 1}}).build(64, renderer.get());
    const auto actor = qel::makeObject<qel::VolumeActor>();
    actor->setScalarTexture(ball.get()).setVolumeScaleBias({1, 0}).setVolumeMaterial(red);
    renderer->setViewMatrix(qel::Float4x4::LookAt({0.5f, 0.5f, -2}, {0.5f, 0.5f, 0.5f}, {0, 1, 0}));
    renderer->setProjectionMatrix(qel::Float4x4::Perspective(0.6f, 1, 0.1f, 10));
    renderer->start3D();
    renderer->clear({0, 0, 1, 1});
    renderer->draw(actor.get());
    renderer->stop3D();
}

bool isRed(const qel::Image& image, int x, int y) {
    const qel::uint8* const pixel = image.getBytePointer(y) + std::ptrdiff_t{x} * 4;
    return pixel[2] > 250 && pixel[0] < 5;
}

} // namespace

int main(int argc, char** argv) {
    qel::System::initialize(argc, argv, nullptr);
    bool isBall = false;
    {
        const auto image = qel::makeObject<qel::Image>(qel::BGRA8, qel::IVec2<int>(kSize, kSize));
        draw(*image);
        isBall = isRed(*image, kSize / 2, kSize / 2) && !isRed(*image, 1, 1);
    }
    qel::System::deinitialize();
    std::puts(isBall ? "hello from a ball" : "the picture shows no ball");
    return isBall ? 0 : 1;
}
