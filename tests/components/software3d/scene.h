// Volumes, materials and frames for the tests of SoftwareRenderer3D.
#pragma once

#include <qel/foundation/base/buffer.h>
#include <qel/imaging/pixels/image.h>
#include <qel/software3d/software_renderer_3d.h>
#include <qel/volume/mesh_actor.h>
#include <qel/volume/volume_actor.h>
#include <qel/volume/volume_loader.h>
#include <qel/volume/volume_material.h>

#include <functional>
#include <vector>

namespace qel::test {

/// A renderer with a target and a volume.
class Scene {
public:
    /// Returns the stored value at a place in the volume, 0 to 1 on each axis.
    using Field = std::function<double(double x, double y, double z)>;

    explicit Scene(const IVec2<int>& size = {32, 32}) : target(makeObject<Image>(BGRA8, size)) {
        renderer->setRenderTarget(target.get());
        lookAlongZ();
    }

    /// Fills the volume with the values of a field at the centres of its voxels.
    void setVolume(const IVec3<int>& size, const Field& field) {
        std::vector<uint16> voxels;
        for (int z = 0; z < size.z; ++z)
            for (int y = 0; y < size.y; ++y)
                for (int x = 0; x < size.x; ++x)
                    voxels.push_back(static_cast<uint16>(
                        field((x + 0.5) / size.x, (y + 0.5) / size.y, (z + 0.5) / size.z) + 0.5));
        texture = renderer->createVolumeTexture();
        texture->initialize(UInt16, size);
        texture->uploadData(0, size.z, UInt16, voxels.data());
        actor->setScalarTexture(texture.get()).setVolumeScaleBias({1, 0});
    }

    /// Builds a material and gives it to the volume.
    void setMaterial(const Curve<IVec3<float>>& color, const Curve<float>& opacity, int steps,
                     const Curve<float>& gradient = {}) {
        VolumeMaterial material;
        material.setColorCurve(color).setOpacityCurve(opacity).setGradientCurve(gradient);
        material.build(steps, renderer.get());
        actor->setVolumeMaterial(material);
    }

    /// Looks along the z axis at the cube from 0 to 1, which fills the picture, without perspective.
    void lookAlongZ() {
        renderer->setViewMatrix({});
        renderer->setProjectionMatrix({2, 0, 0, 0, 0, 2, 0, 0, 0, 0, 2, 0, -1, -1, -1, 1});
    }

    /// Looks at the middle of the cube with perspective.
    void lookFrom(const IVec3<float>& eye) {
        renderer->setViewMatrix(Float4x4::LookAt(eye, {0.5f, 0.5f, 0.5f}, {0, 1, 0}));
        renderer->setProjectionMatrix(Float4x4::Perspective(0.7f, 1, 0.1f, 10));
    }

    /// Draws a frame on a transparent black target.
    Image& draw(const std::function<void()>& operations) {
        renderer->start3D();
        renderer->clear({0, 0, 0, 0});
        operations();
        renderer->stop3D();
        return *target;
    }
    Image& drawVolume() {
        return draw([this] { actor->onRender(renderer.get()); });
    }
    Image& drawMesh(Mesh& mesh, const IVec4<float>& color) {
        return draw([&] { addMesh(mesh, color); });
    }
    void addMesh(Mesh& mesh, const IVec4<float>& color) {
        MeshActor meshActor;
        meshActor.setMesh(&mesh).setColor(color).onRender(renderer.get());
    }

    /// Returns a component of a pixel: 0 blue, 1 green, 2 red, 3 alpha.
    int channel(int x, int y, int c) const { return target->getBytePointer(y)[4 * x + c]; }
    int alpha(int x, int y) const { return channel(x, y, 3); }
    std::vector<uint8> bytes() const {
        return {target->getBytePointer(), target->getBytePointer() + target->getByteSize()};
    }

    const SmartPointer<SoftwareRenderer3D> renderer = makeObject<SoftwareRenderer3D>();
    SmartPointer<Image> target;
    const SmartPointer<VolumeActor> actor = makeObject<VolumeActor>();
    SmartPointer<VolumeTexture> texture;
};

} // namespace qel::test
