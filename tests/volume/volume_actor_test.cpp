#include <qel/volume/volume_actor.h>

#include <tests/support/log_capture.h>
#include <tests/volume/noting_volume.h>

#include <qel/render/renderer_software.h>
#include <qel/volume/mesh_actor.h>

#include <gtest/gtest.h>

namespace qel {
namespace {

/// Notes what is drawn, with the tint.
class DrawingRenderer : public test::VolumeRenderer {
public:
    void drawMeshInternal(Mesh* drawn, const Float4x4& matrix) override {
        mesh = drawn;
        modelMatrix = matrix;
        tint = getColor();
    }
    void drawVolumeInternal(VolumeActor* actor) override { volume = actor; }

    Mesh* mesh = nullptr;
    VolumeActor* volume = nullptr;
    Float4x4 modelMatrix;
    IVec4<float> tint;
};

TEST(VolumeActorTest, DrawsWhileItsTextureLives) {
    DrawingRenderer renderer;
    VolumeActor actor;
    actor.onRender(&renderer);
    EXPECT_EQ(renderer.volume, nullptr);
    SmartPointer<VolumeTexture> texture = renderer.createVolumeTexture();
    actor.setScalarTexture(texture.get()).setStepCount(7).setUsingClassified(false);
    actor.onRender(&renderer);
    EXPECT_EQ(renderer.volume, &actor);
    texture.reset();
    EXPECT_EQ(actor.getScalarTexture(), nullptr);
    renderer.volume = nullptr;
    actor.onRender(&renderer);
    EXPECT_EQ(renderer.volume, nullptr);
}

TEST(VolumeActorTest, OtherRenderersDrawNothing) {
    test::VolumeRenderer owner;
    const SmartPointer<VolumeTexture> texture = owner.createVolumeTexture();
    const auto software = makeObject<RendererSoftware>();
    VolumeActor volume;
    volume.setScalarTexture(texture.get()).onRender(software.get());
    volume.onRender(nullptr);
    MeshActor mesh;
    mesh.setMesh(owner.createMesh().get()).onRender(software.get());
    EXPECT_EQ(software->getColor(), IVec4<float>(1, 1, 1, 1));
}

TEST(MeshActorTest, DrawsWithItsTint) {
    DrawingRenderer renderer;
    renderer.pushColor({1, 1, 1, 0.5f});
    const SmartPointer<Mesh> mesh = renderer.createMesh();
    MeshActor actor;
    test::LogCapture log;
    actor.onRender(&renderer);
    log.expect(2, "Missing mesh");
    actor.setMesh(mesh.get()).setColor({0.5f, 1, 0, 0.5f}).setModelMatrix(Float4x4(2.0f));
    actor.onRender(&renderer);
    EXPECT_EQ(renderer.mesh, mesh.get());
    EXPECT_EQ(renderer.modelMatrix, Float4x4(2.0f));
    EXPECT_EQ(renderer.tint, IVec4<float>(0.5f, 1, 0, 0.25f));
    EXPECT_EQ(renderer.getColor(), IVec4<float>(1, 1, 1, 0.5f)) << "the stack is as before";
}

} // namespace
} // namespace qel
