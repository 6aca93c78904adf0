// The JSON form and the Item form of materials.
#include <qel/volume/volume_material.h>

#include <qel/foundation/log/message_stream.h>
#include <qel/plugins/json.h>
#include <qel/store/core/item.h>

#include <array>
#include <cmath>
#include <optional>

namespace qel {
namespace {

using Json = nlohmann::json;

/// Adds an entry, unless no curve can contain its key.
template <typename T>
void assign(Curve<T>& curve, double key, const T& value) {
    const auto narrowKey = static_cast<float>(key);
    if (std::isfinite(narrowKey)) curve.insert_or_assign(narrowKey, value);
}

// --- JSON; everything that is missing or has another type throws ---------------------------------------

/// Returns a number; a bool throws.
double numberIn(const Json& value) {
    if (!value.is_number()) throw std::invalid_argument("type must be number");
    return value.get<double>();
}

const Json::array_t& arrayIn(const Json& value) {
    return value.get_ref<const Json::array_t&>();
}

std::optional<IVec3<float>> colorIn(const Json& value) {
    const Json::array_t& numbers = arrayIn(value);
    if (numbers.size() != 3) {
        logging::warning() << "Invalid color value size: " << numbers.size();
        return {};
    }
    return IVec3<float>(IVec3<double>(numberIn(numbers[0]), numberIn(numbers[1]), numberIn(numbers[2])));
}

Curve<IVec3<float>> colorCurveIn(const Json& entries) {
    Curve<IVec3<float>> curve;
    for (const Json& entry : arrayIn(entries)) {
        const double offset = numberIn(entry.at("offset"));
        if (const auto color = colorIn(entry.at("value"))) assign(curve, offset, *color);
    }
    return curve;
}

Curve<float> curveIn(const Json& entries) {
    Curve<float> curve;
    for (const Json& entry : arrayIn(entries)) {
        const double offset = numberIn(entry.at("offset"));
        assign(curve, offset, static_cast<float>(numberIn(entry.at("value"))));
    }
    return curve;
}

VolumeMaterial materialIn(const Json& value) {
    VolumeMaterial material;
    material.setName(value.at("name").get_ref<const std::string&>());
    material.setModalityFilter(value.at("modality_filter").get_ref<const std::string&>());
    material.setColorCurve(colorCurveIn(value.at("color")));
    material.setOpacityCurve(curveIn(value.at("opacity")));
    material.setGradientCurve(curveIn(value.at("gradient")));
    return material;
}

// --- Items ----------------------------------------------------------------------------------------------

void addNumbers(Item& item, float value) {
    item.addFloat(double{value});
}
void addNumbers(Item& item, const IVec3<float>& value) {
    for (int i = 0; i < 3; ++i) addNumbers(item, value[i]);
}

template <typename T>
void addCurve(Item& item, const Curve<T>& curve) {
    const size_t begin = item.openSubItem();
    for (const auto& [key, value] : curve) {
        addNumbers(item, key);
        addNumbers(item, value);
    }
    item.closeSubItem(begin);
}

bool readNumber(Item::Iterator& element, double& value) {
    if (element.asFloat(value)) return true;
    int64 whole = 0;
    if (!element.asInteger(whole)) return false;
    value = static_cast<double>(whole);
    return true;
}

/// The numbers of a value of a curve.
template <typename T>
constexpr size_t kNumbers = 1;
template <>
constexpr size_t kNumbers<IVec3<float>> = 3;

void narrow(const std::array<double, 1>& numbers, float& value) {
    value = static_cast<float>(numbers[0]);
}
void narrow(const std::array<double, 3>& numbers, IVec3<float>& value) {
    value = IVec3<float>(IVec3<double>(numbers[0], numbers[1], numbers[2]));
}

/// Reads keys with their values up to the first element that is not a number.
template <typename T>
Curve<T> curveIn(const Item& list) {
    Curve<T> curve;
    Item::Iterator element(list);
    for (double key = 0; readNumber(element, key);) {
        std::array<double, kNumbers<T>> numbers{};
        for (double& number : numbers)
            if (!readNumber(element, number)) return curve;
        T value{};
        narrow(numbers, value);
        assign(curve, key, value);
    }
    return curve;
}

} // namespace

Vector<VolumeMaterial> VolumeMaterial::fromJSON(const String& text) {
    Vector<VolumeMaterial> materials;
    try {
        Json json;
        if (util::parseJSON(text, json)) {
            for (const Json& value : arrayIn(json)) materials.push_back(materialIn(value));
            return materials;
        }
    } catch (const std::exception&) {
        materials.clear();
    }
    logging::info() << "Volume material parser failed";
    return materials;
}

VolumeMaterial VolumeMaterial::fromItem(const Item& item) {
    VolumeMaterial material;
    Item::Iterator element(item);
    Item color, opacity, gradient;
    if (!element.asString(material.m_name) || !element.asString(material.m_modalityFilter) ||
        !element.asWeakSubItem(color) || !element.asWeakSubItem(opacity) ||
        !element.asWeakSubItem(gradient)) {
        logging::warning() << "Could not deserialize volume material";
        return material;
    }
    material.setColorCurve(curveIn<IVec3<float>>(color));
    material.setOpacityCurve(curveIn<float>(opacity));
    material.setGradientCurve(curveIn<float>(gradient));
    return material;
}

Item VolumeMaterial::toItem() const {
    Item item;
    item.addString(SmartCStr(m_name)).addString(SmartCStr(m_modalityFilter));
    addCurve(item, m_colorCurve);
    addCurve(item, m_opacityCurve);
    addCurve(item, m_gradientCurve);
    return item;
}

} // namespace qel
