// VolumeActor: what a 3D renderer needs to draw a volume.
#pragma once

#include <qel/foundation/base/ivec.h>
#include <qel/foundation/base/smart_pointer.h>
#include <qel/foundation/base/types.h>
#include <qel/foundation/base/weak_pointer.h>
#include <qel/platform/api.h>
#include <qel/render/texture.h>
#include <qel/render/volume_texture.h>
#include <qel/volume/actor_3d.h>

namespace qel {

class VolumeMaterial;

/// How a renderer computes the gradients of a volume. Renderers draw other numbers as CentralDifference.
enum class VolumeGradientCalculation : int {
    CentralDifference = 1, ///< differences between the neighbours on each axis
    Sobel = 2,             ///< the same, smoothed over the 27 voxels around
};

/// A volume in the scene. It draws nothing itself: onRender() passes it to a Renderer3D, which reads its
/// values.
///
/// A stored voxel is `value * volumeScaleBias.x + volumeScaleBias.y` in the units of its source, and such a
/// number is at `number * lookupScaleBias.x + lookupScaleBias.y` in the tables.
/// @threads main thread.
class QEL_API VolumeActor : public Actor3D {
    QEL_CLASS(VolumeActor, Actor3D)

public:
    VolumeActor();
    ~VolumeActor() override;

    /// Sets the volume. @owner keeps a weak pointer: the actor draws nothing once the texture is destroyed.
    /// @return this actor, as all setters do.
    VolumeActor& setScalarTexture(VolumeTexture* texture);
    /// Returns the volume, or null.
    VolumeTexture* getScalarTexture() const { return m_scalarTexture.get(); }
    /// Sets VolumeLoader::getScaleBias().
    VolumeActor& setVolumeScaleBias(const IVec2<float>& scaleBias);
    /// Returns scale and bias from stored voxels to source values; (0, 0) initially.
    const IVec2<float>& getVolumeScaleBias() const { return m_volumeScaleBias; }
    /// Sets scale and bias from source values to coordinates in the tables.
    VolumeActor& setLookupScaleBias(const IVec2<float>& scaleBias);
    /// Returns scale and bias from source values to coordinates in the tables; (0, 0) initially.
    const IVec2<float>& getLookupScaleBias() const { return m_lookupScaleBias; }

    /// Sets the table of colour and opacity by value. @owner takes a reference, as for all tables.
    VolumeActor& setColorAlphaLookupTexture(Texture* texture);
    /// Returns the table of colour and opacity by value, or null.
    Texture* getColorAlphaLookupTexture() const { return m_colorAlphaLookupTexture.get(); }
    /// Sets the table of mean colour and opacity by the values at both ends of a segment.
    VolumeActor& setColorAlphaPreintegrationTexture(Texture* texture);
    /// Returns the table of mean colour and opacity by the values at both ends of a segment, or null.
    Texture* getColorAlphaPreintegrationTexture() const { return m_colorAlphaPreintegrationTexture.get(); }
    /// Sets the table of the weight by gradient magnitude.
    VolumeActor& setGradientLookupTexture(Texture* texture);
    /// Returns the table of the weight by gradient magnitude, or null.
    Texture* getGradientLookupTexture() const { return m_gradientLookupTexture.get(); }
    /// Sets the table of the mean weight by the magnitudes at both ends of a segment.
    VolumeActor& setGradientPreintegrationTexture(Texture* texture);
    /// Returns the table of the mean weight by the magnitudes at both ends of a segment, or null.
    Texture* getGradientPreintegrationTexture() const { return m_gradientPreintegrationTexture.get(); }

    /// Sets whether segments of a ray use the tables for both ends; otherwise those for one value.
    VolumeActor& setUsingPreintegration(bool use);
    /// Returns true, which it is initially, if segments use the tables for both ends.
    bool isUsingPreintegration() const { return m_usingPreintegration; }
    /// Sets whether values are shown by the tables; otherwise as they are.
    VolumeActor& setUsingClassified(bool use);
    /// Returns true, which it is initially, if values are shown by the tables.
    bool isUsingClassified() const { return m_usingClassified; }
    /// Sets whether the tables of the gradient weigh the opacity.
    VolumeActor& setUsingGradientMultiplier(bool use);
    /// Returns true, which it is initially, if the tables of the gradient weigh the opacity.
    bool isUsingGradientMultiplier() const { return m_usingGradientMultiplier; }
    /// Sets whether opaque places darken their neighbours.
    VolumeActor& setUsingLocalOcclusion(bool use);
    /// Returns true if opaque places darken their neighbours; false initially.
    bool isUsingLocalOcclusion() const { return m_usingLocalOcclusion; }
    /// Sets whether places that little light reaches are darker.
    VolumeActor& setUsingGlobalOcclusion(bool use);
    /// Returns true if places that little light reaches are darker; false initially.
    bool isUsingGlobalOcclusion() const { return m_usingGlobalOcclusion; }

    /// Sets the number of samples along a ray.
    VolumeActor& setStepCount(const int& count);
    /// Returns the number of samples along a ray; 512 initially.
    const int& getStepCount() const { return m_stepCount; }
    /// Sets how gradients are computed.
    VolumeActor& setVolumeGradientCalculation(const VolumeGradientCalculation& calculation);
    /// Returns how gradients are computed; CentralDifference initially.
    const VolumeGradientCalculation& getVolumeGradientCalculation() const {
        return m_volumeGradientCalculation;
    }

    /// Takes the tables of a material that has been built, and their scale and bias. Tables that the material
    /// does not have are kept; isUsingGradientMultiplier() becomes true if it has those of the gradient, and
    /// false otherwise.
    /// @return false, with nothing changed, if the material is not valid.
    bool setVolumeMaterial(VolumeMaterial& material);

    /// Calls Renderer3D::drawVolumeInternal(); does nothing without a volume, or with another renderer.
    void onRender(Renderer* renderer) override;

private:
    WeakPointer<VolumeTexture> m_scalarTexture;
    IVec2<float> m_volumeScaleBias;
    IVec2<float> m_lookupScaleBias;
    SmartPointer<Texture> m_colorAlphaLookupTexture;
    SmartPointer<Texture> m_colorAlphaPreintegrationTexture;
    SmartPointer<Texture> m_gradientLookupTexture;
    SmartPointer<Texture> m_gradientPreintegrationTexture;
    bool m_usingPreintegration = true;
    bool m_usingClassified = true;
    bool m_usingGradientMultiplier = true;
    bool m_usingLocalOcclusion = false;
    bool m_usingGlobalOcclusion = false;
    int32 m_stepCount = 512;
    VolumeGradientCalculation m_volumeGradientCalculation = VolumeGradientCalculation::CentralDifference;
};

} // namespace qel
