#include <qel/style/style_answer_p.h>

#include <qel/foundation/log/message_stream.h>
#include <qel/style/color_names.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <optional>
#include <string>
#include <utility>

namespace qel::internal {

namespace {

using Result = StyleAnswer::Result;
using Color = std::optional<IVec4<float>>;

/// Returns the value of a declaration that has just one, or null.
const CssValue* singleValue(const CssTree& tree, const CssDeclaration& declaration) {
    const CssRange range = declaration.values;
    if (range.begin == range.end || tree.values[range.begin].end != range.end) return nullptr;
    return &tree.values[range.begin];
}

/// The arguments of a function that are separated by commas. They contain no functions themselves.
class Arguments {
public:
    Arguments(const CssTree& tree, const CssValue& function)
        : m_first(&function + 1), m_count(static_cast<size_t>(&tree.values[0] + function.end - m_first)) {}

    /// Returns true if there are @p count arguments with commas between them.
    bool areCount(size_t count) const {
        if (m_count != 2 * count - 1) return false;
        for (size_t i = 1; i < m_count; i += 2) {
            if (m_first[i].unit != StyleUnit::Operator || m_first[i].text != ",") return false;
        }
        return true;
    }
    const CssValue& at(size_t index) const { return m_first[2 * index]; }
    /// Returns argument @p index as a number; a percentage is divided by 100.
    std::optional<float> number(size_t index) const {
        if (at(index).unit == StyleUnit::Number) return at(index).number;
        return percentage(index);
    }
    std::optional<float> percentage(size_t index) const {
        if (at(index).unit != StyleUnit::Percentage) return std::nullopt;
        return at(index).number / 100;
    }

private:
    const CssValue* m_first;
    size_t m_count;
};

uint8 truncatedByte(float value) {
    return static_cast<uint8>(std::clamp(value, 0.0f, 255.0f));
}

Color readRgb(const Arguments& arguments) {
    const std::optional<float> red = arguments.number(0);
    const std::optional<float> green = arguments.number(1);
    const std::optional<float> blue = arguments.number(2);
    if (!red || !green || !blue) return std::nullopt;
    return util::getColorFromRGBBytes(truncatedByte(*red), truncatedByte(*green), truncatedByte(*blue));
}

Color readRgba(const Arguments& arguments) {
    Color color = readRgb(arguments);
    const std::optional<float> alpha = arguments.number(3);
    if (!color || !alpha) return std::nullopt;
    color->w *= std::clamp(*alpha, 0.0f, 1.0f);
    return color;
}

/// Reads hue, saturation and lightness, the last two of which are used as saturation and value.
Color readHsl(const Arguments& arguments) {
    const std::optional<float> saturation = arguments.percentage(1);
    const std::optional<float> lightness = arguments.percentage(2);
    if (arguments.at(0).unit != StyleUnit::Number || !saturation || !lightness) return std::nullopt;
    const float degrees = std::fmod(arguments.at(0).number, 360.0f);
    const IVec3<float> rgb =
        util::convertHSVtoRGB({(degrees < 0 ? degrees + 360 : degrees) / 360, *saturation, *lightness});
    return IVec4<float>(rgb.x, rgb.y, rgb.z, 1);
}

/// Logs a line at most once for a declaration.
void report(bool& isReported, int level, const char* text, const std::string& value) {
    if (!std::exchange(isReported, true)) logging::MessageStream(level, 2) << text << value;
}

Color readFunction(const CssTree& tree, const CssValue& function, bool& isReported) {
    const Arguments arguments(tree, function);
    if (function.text == "rgb(") return arguments.areCount(3) ? readRgb(arguments) : std::nullopt;
    if (function.text == "rgba(") return arguments.areCount(4) ? readRgba(arguments) : std::nullopt;
    if (function.text == "hsl(") return arguments.areCount(3) ? readHsl(arguments) : std::nullopt;
    report(isReported, 2, "Unimplemented parser func: ", std::string(function.text));
    return std::nullopt;
}

StyleAnswer readColor(const CssTree& tree, CssDeclaration& declaration) {
    const CssValue* const value = singleValue(tree, declaration);
    if (value == nullptr) return {Result::Untouched, {}, nullptr};
    const std::string text(value->text);
    IVec4<float> named;
    Color color;
    switch (value->unit) {
    case StyleUnit::Identifier:
        if (util::getColorFromWebColor(text, named)) color = named;
        if (!color) report(declaration.isReportedAsColor, 2, "Failed to get color from webcolor: ", text);
        break;
    case StyleUnit::HexColor:
        if (util::getColorFromHexString(text, named)) color = named;
        if (!color) report(declaration.isReportedAsColor, 2, "Failed to get color from hex: ", text);
        break;
    case StyleUnit::Function:
        color = readFunction(tree, *value, declaration.isReportedAsColor);
        break;
    default:
        return {Result::Untouched, {}, nullptr};
    }
    return color ? StyleAnswer{Result::Found, *color, value} : StyleAnswer();
}

StyleAnswer readLength(const CssTree& tree, CssDeclaration& declaration) {
    const CssValue* const value = singleValue(tree, declaration);
    if (value == nullptr) return {};
    if (value->unit == StyleUnit::Pixels || value->unit == StyleUnit::Ems) return {Result::Found, {}, value};
    report(declaration.isReportedAsLength, 3,
           "Unsupported length unit: ", std::to_string(static_cast<int>(value->unit)));
    return {};
}

StyleAnswer readUri(const CssTree& tree, const CssDeclaration& declaration, std::string_view scheme) {
    const CssValue* const value = singleValue(tree, declaration);
    if (value == nullptr || value->unit != StyleUnit::Uri || !value->text.starts_with(scheme)) return {};
    return {Result::Found, {}, value};
}

} // namespace

StyleAnswer readStyle(StyleGetter getter, const CssTree& tree, CssDeclaration& declaration) {
    switch (getter) {
    case StyleGetter::Color:
        return readColor(tree, declaration);
    case StyleGetter::PixelLength:
        return readLength(tree, declaration);
    case StyleGetter::Sprite:
        return readUri(tree, declaration, kSpriteScheme);
    case StyleGetter::Translation:
        return readUri(tree, declaration, kTranslationScheme);
    case StyleGetter::Url:
        return readUri(tree, declaration, "");
    }
    return {};
}

} // namespace qel::internal
