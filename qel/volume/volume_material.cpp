#include <qel/volume/volume_material.h>

#include <qel/foundation/log/message_stream.h>
#include <qel/imaging/pixels/image.h>
#include <qel/render/renderer.h>

#include <algorithm>
#include <cfloat>
#include <functional>

namespace qel {
namespace {

unsigned tableSteps(int steps, Renderer& renderer) {
    const IVec2<int> largest = renderer.getMaximumTextureSize();
    const int most = std::min({largest.x, largest.y, static_cast<int>(Image::kMaximumTableSteps)});
    return static_cast<unsigned>(std::clamp(steps, 2, std::max(most, 2)));
}

template <typename T>
void include(IVec2<float>& beginEnd, const Curve<T>& curve) {
    for (const auto& [key, value] : curve) {
        beginEnd.x = std::min(beginEnd.x, key);
        beginEnd.y = std::max(beginEnd.y, key);
    }
}

bool getBoth(const SmartPointer<Texture>& first, const SmartPointer<Texture>& second, Texture*& firstOut,
             Texture*& secondOut) {
    if (!first || !second) return false;
    firstOut = first.get();
    secondOut = second.get();
    return true;
}

} // namespace

VolumeMaterial& VolumeMaterial::setName(const String& name) {
    m_name = name;
    return *this;
}

VolumeMaterial& VolumeMaterial::setModalityFilter(const String& filter) {
    m_modalityFilter = filter;
    return *this;
}

VolumeMaterial& VolumeMaterial::setColorCurve(Curve<IVec3<float>> curve) {
    m_colorCurve.swap(curve);
    m_dirty = true;
    return *this;
}

VolumeMaterial& VolumeMaterial::setOpacityCurve(Curve<float> curve) {
    m_opacityCurve.swap(curve);
    m_dirty = true;
    return *this;
}

VolumeMaterial& VolumeMaterial::setGradientCurve(Curve<float> curve) {
    m_gradientCurve.swap(curve);
    m_dirty = true;
    return *this;
}

IVec2<float> VolumeMaterial::calculateBeginEnd() const {
    IVec2<float> beginEnd(FLT_MAX, FLT_MIN);
    include(beginEnd, m_colorCurve);
    include(beginEnd, m_opacityCurve);
    include(beginEnd, m_gradientCurve);
    return beginEnd;
}

bool VolumeMaterial::build(int steps, Renderer* renderer) {
    if (!m_dirty && isValid()) return true; // a material that was moved has no curves
    if (!isValid()) return false;
    if (renderer == nullptr) {
        logging::error() << "volume material needs a renderer";
        return false;
    }
    for (auto* texture :
         {&m_colorAlphaLookup, &m_colorAlphaPreintegration, &m_gradientLookup, &m_gradientPreintegration})
        texture->reset();
    const unsigned size = tableSteps(steps, *renderer);
    buildTables(size, *renderer, m_colorAlphaLookup, m_colorAlphaPreintegration, [this](float x) {
        const IVec3<float> color = m_colorCurve.evaluate(x);
        return IVec4<float>(color.x, color.y, color.z, m_opacityCurve.evaluate(x));
    });
    if (!m_gradientCurve.empty()) {
        buildTables(size, *renderer, m_gradientLookup, m_gradientPreintegration, [this](float x) {
            const float weight = m_gradientCurve.evaluate(x);
            return IVec4<float>(weight, weight, weight, 1.0f);
        });
    }
    m_dirty = false;
    return true;
}

template <typename F>
void VolumeMaterial::buildTables(unsigned steps, Renderer& renderer, SmartPointer<Texture>& lookup,
                                 SmartPointer<Texture>& preintegration, const F& f) {
    const auto [begin, end] = calculateBeginEnd();
    const auto upload = [&](SmartPointer<Texture>& texture, const Image& image) {
        texture = renderer.createTexture();
        if (texture) texture->upload(image, false);
    };
    Image image;
    m_lookupScaleBias = image.createLookupTableForTexture(steps, begin, end, f);
    upload(lookup, image);
    image.createPreintegrationForTexture(steps, begin, end, f);
    upload(preintegration, image);
}

bool VolumeMaterial::getColorAlphaTextures(Texture*& lookup, Texture*& preintegration) const {
    return getBoth(m_colorAlphaLookup, m_colorAlphaPreintegration, lookup, preintegration);
}

bool VolumeMaterial::getGradientTextures(Texture*& lookup, Texture*& preintegration) const {
    return getBoth(m_gradientLookup, m_gradientPreintegration, lookup, preintegration);
}

} // namespace qel
