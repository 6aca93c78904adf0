#include <qel/volume/volume_actor.h>

#include <qel/render/renderer_3d.h>
#include <qel/volume/volume_material.h>

namespace qel {

VolumeActor::VolumeActor() = default;
VolumeActor::~VolumeActor() = default;

VolumeActor& VolumeActor::setScalarTexture(VolumeTexture* texture) {
    m_scalarTexture = texture;
    return *this;
}

VolumeActor& VolumeActor::setVolumeScaleBias(const IVec2<float>& scaleBias) {
    m_volumeScaleBias = scaleBias;
    return *this;
}

VolumeActor& VolumeActor::setLookupScaleBias(const IVec2<float>& scaleBias) {
    m_lookupScaleBias = scaleBias;
    return *this;
}

VolumeActor& VolumeActor::setColorAlphaLookupTexture(Texture* texture) {
    m_colorAlphaLookupTexture.reset(texture);
    return *this;
}

VolumeActor& VolumeActor::setColorAlphaPreintegrationTexture(Texture* texture) {
    m_colorAlphaPreintegrationTexture.reset(texture);
    return *this;
}

VolumeActor& VolumeActor::setGradientLookupTexture(Texture* texture) {
    m_gradientLookupTexture.reset(texture);
    return *this;
}

VolumeActor& VolumeActor::setGradientPreintegrationTexture(Texture* texture) {
    m_gradientPreintegrationTexture.reset(texture);
    return *this;
}

VolumeActor& VolumeActor::setUsingPreintegration(bool use) {
    m_usingPreintegration = use;
    return *this;
}

VolumeActor& VolumeActor::setUsingClassified(bool use) {
    m_usingClassified = use;
    return *this;
}

VolumeActor& VolumeActor::setUsingGradientMultiplier(bool use) {
    m_usingGradientMultiplier = use;
    return *this;
}

VolumeActor& VolumeActor::setUsingLocalOcclusion(bool use) {
    m_usingLocalOcclusion = use;
    return *this;
}

VolumeActor& VolumeActor::setUsingGlobalOcclusion(bool use) {
    m_usingGlobalOcclusion = use;
    return *this;
}

VolumeActor& VolumeActor::setStepCount(const int& count) {
    m_stepCount = count;
    return *this;
}

VolumeActor& VolumeActor::setVolumeGradientCalculation(const VolumeGradientCalculation& calculation) {
    m_volumeGradientCalculation = calculation;
    return *this;
}

bool VolumeActor::setVolumeMaterial(VolumeMaterial& material) {
    if (!material.isValid()) return false;
    Texture* lookup = nullptr;
    Texture* preintegration = nullptr;
    if (material.getColorAlphaTextures(lookup, preintegration))
        setColorAlphaLookupTexture(lookup).setColorAlphaPreintegrationTexture(preintegration);
    m_usingGradientMultiplier = material.getGradientTextures(lookup, preintegration);
    if (m_usingGradientMultiplier)
        setGradientLookupTexture(lookup).setGradientPreintegrationTexture(preintegration);
    m_lookupScaleBias = material.getLookupScaleBias();
    return true;
}

void VolumeActor::onRender(Renderer* renderer) {
    if (!m_scalarTexture) return;
    if (auto* const renderer3D = dynamic_cast<Renderer3D*>(renderer)) renderer3D->drawVolumeInternal(this);
}

} // namespace qel
