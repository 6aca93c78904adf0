// VolumeMaterial: colour, opacity and gradient weight of the values of a volume.
#pragma once

#include <qel/foundation/base/containers.h>
#include <qel/foundation/base/ivec.h>
#include <qel/foundation/base/object.h>
#include <qel/foundation/base/smart_pointer.h>
#include <qel/foundation/base/string.h>
#include <qel/platform/api.h>
#include <qel/render/texture.h>
#include <qel/volume/curve.h>

#include <concepts>
#include <exception>
#include <string>
#include <utility>

namespace qel {

class Item;
class Renderer;

/// A transfer function: three curves over the values of a volume. build() samples them into textures for a
/// renderer. A material is a value; copies share the textures.
/// @threads main thread.
class QEL_API VolumeMaterial : public Object {
    QEL_CLASS(VolumeMaterial, Object)

public:
    /// Creates a material without curves.
    VolumeMaterial() = default;

    /// Sets the name that is shown. @return this material.
    VolumeMaterial& setName(const String& name);
    /// Returns the name that is shown.
    const String& getName() const { return m_name; }
    /// Sets the kind of image for which the material is meant. @return this material.
    VolumeMaterial& setModalityFilter(const String& filter);
    /// Returns the kind of image for which the material is meant.
    const String& getModalityFilter() const { return m_modalityFilter; }
    /// Sets R, G and B, from 0 to 1, by value. @return this material.
    VolumeMaterial& setColorCurve(Curve<IVec3<float>> curve);
    /// Sets the opacity, from 0 to 1, by value. @return this material.
    VolumeMaterial& setOpacityCurve(Curve<float> curve);
    /// Sets the weight of the opacity, from 0 to 1, by the magnitude of the gradient; an empty curve for
    /// none. @return this material.
    VolumeMaterial& setGradientCurve(Curve<float> curve);
    /// Returns R, G and B by value.
    const Curve<IVec3<float>>& getColorCurve() const { return m_colorCurve; }
    /// Returns the opacity by value.
    const Curve<float>& getOpacityCurve() const { return m_opacityCurve; }
    /// Returns the weight by the magnitude of the gradient.
    const Curve<float>& getGradientCurve() const { return m_gradientCurve; }
    /// Returns true if the curves of colour and opacity have entries.
    bool isValid() const { return !m_colorCurve.empty() && !m_opacityCurve.empty(); }

    /// Creates the textures, unless no curve has changed since the last time: a table of @p steps by 1 and
    /// one of @p steps by @p steps for colour and opacity, and two more if there is a gradient curve.
    /// @param steps  is limited to 2 up to the renderer's largest texture and Image::kMaximumTableSteps.
    /// @return false, with the textures unchanged, if the material is not valid or @p renderer is null.
    bool build(int steps, Renderer* renderer);
    /// Returns the tables of colour and opacity. @return false, with both unchanged, unless both exist.
    bool getColorAlphaTextures(Texture*& lookup, Texture*& preintegration) const;
    /// Returns the tables of the gradient weight. @return false, with both unchanged, unless both exist.
    bool getGradientTextures(Texture*& lookup, Texture*& preintegration) const;
    /// Returns scale and bias from a value to its coordinate in the tables; (0, 0) before build().
    const IVec2<float>& getLookupScaleBias() const { return m_lookupScaleBias; }

    /// Reads an array of materials: docs/formats.md describes it. Entries whose offset is not finite as a
    /// float are left out.
    /// @errors anything that is missing or has another type logs "Volume material parser failed" as info, and
    /// the result is empty. A colour without exactly three values logs a warning and is skipped.
    static Vector<VolumeMaterial> fromJSON(const String& text);
    /// Does the same with a value of nlohmann::json, or of a class with a function dump() that returns the
    /// text. @errors also fails for what no JSON text contains: numbers that are not finite, and strings that
    /// are not UTF-8.
    template <typename Json>
    requires requires(const Json& json) {
        { json.dump() } -> std::convertible_to<std::string>;
    }
    static Vector<VolumeMaterial> fromJSON(const Json& json) {
        String text;
        try {
            text = String(std::string(json.dump()));
        } catch (const std::exception&) {
            // An empty text is no JSON, which is reported.
        }
        return fromJSON(text);
    }
    /// Reads what toItem() writes. Entries whose key is not finite as a float are left out.
    /// @errors logs the warning "Could not deserialize volume material" if a text or a list is missing; the
    /// material then has the texts before it and no curves.
    static VolumeMaterial fromItem(const Item& item);
    /// Returns the texts, and for each curve a list of keys with their values, as Floats.
    Item toItem() const;

protected:
    /// Returns the smallest key of all curves, at most FLT_MAX, and the largest, at least FLT_MIN: the range
    /// includes 0 at its upper end if all keys are negative.
    IVec2<float> calculateBeginEnd() const;

private:
    template <typename F>
    void buildTables(unsigned steps, Renderer& renderer, SmartPointer<Texture>& lookup,
                     SmartPointer<Texture>& preintegration, const F& f);

    String m_name;
    String m_modalityFilter;
    SmartPointer<Texture> m_colorAlphaLookup;
    SmartPointer<Texture> m_colorAlphaPreintegration;
    SmartPointer<Texture> m_gradientLookup;
    SmartPointer<Texture> m_gradientPreintegration;
    Curve<IVec3<float>> m_colorCurve;
    Curve<float> m_opacityCurve;
    Curve<float> m_gradientCurve;
    bool m_dirty = true;
    IVec2<float> m_lookupScaleBias;
};

} // namespace qel
