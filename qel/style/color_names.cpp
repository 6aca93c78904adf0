#include <qel/style/color_names.h>

#include <qel/style/web_colors_p.h>

#include <array>
#include <cmath>
#include <optional>
#include <string_view>

namespace qel::util {

namespace {

struct InterfaceColor {
    std::string_view name;
    IVec4<float> color;
};

/// The colours that the user interface is built of.
constexpr InterfaceColor kInterfaceColors[] = {
    {"white-red", {0.96f, 0.2843f, 0.0588f, 1}},
    {"primary", {0.9804f, 0.7804f, 0.2314f, 1}},
    {"medium-primary", {0.9725f, 0.6706f, 0.2353f, 1}},
    {"complementary", {0.1922f, 0.4314f, 0.6392f, 1}},
    {"gray75", {0.75f, 0.75f, 0.75f, 1}},
    {"gray50", {0.5f, 0.5f, 0.5f, 1}},
    {"gray30", {0.3f, 0.3f, 0.3f, 1}},
    {"gray20", {0.2f, 0.2f, 0.2f, 1}},
    {"gray15", {0.15f, 0.15f, 0.15f, 1}},
    {"gray10", {0.1f, 0.1f, 0.1f, 1}},
    {"main", {0.75f, 0.75f, 0.75f, 1}},
};

constexpr uint32 kUnknown = 0xFFFFFFFF;

/// A short text with its ASCII letters in lower case; empty if the text is longer than any name.
class LowerCaseName {
public:
    explicit LowerCaseName(SmartCStr text) {
        for (char c : text.view().substr(0, m_bytes.size() + 1)) {
            if (m_size == m_bytes.size()) {
                m_size = 0;
                return;
            }
            m_bytes[m_size++] = c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
        }
    }
    std::string_view view() const { return {m_bytes.data(), m_size}; }

private:
    std::array<char, 24> m_bytes; // "lightgoldenrodyellow" has 20
    size_t m_size = 0;
};

/// Limits a value to 0 to 1; NaN counts as 0.
float limited(float value) {
    return value > 0 ? std::fmin(value, 1.0f) : 0.0f;
}

uint32 channel(float value) {
    return static_cast<uint32>(std::lround(limited(value) * 255));
}

uint32 packed(const IVec4<float>& color) {
    return channel(color.x) | channel(color.y) << 8 | channel(color.z) << 16 | channel(color.w) << 24;
}

std::optional<IVec4<float>> webColor(std::string_view name) {
    if (name == "transparent") return IVec4<float>();
    const auto* const found = std::lower_bound(
        std::begin(internal::kWebColors), std::end(internal::kWebColors), name,
        [](const internal::WebColor& color, std::string_view wanted) { return color.name < wanted; });
    if (found == std::end(internal::kWebColors) || found->name != name) return std::nullopt;
    const uint32 rgb = found->rgb;
    return getColorFromRGBBytes(static_cast<uint8>(rgb >> 16), static_cast<uint8>(rgb >> 8),
                                static_cast<uint8>(rgb));
}

/// Returns the value of a hexadecimal digit, or -1.
int digitValue(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    const char lower = static_cast<char>(c | 0x20);
    return lower >= 'a' && lower <= 'f' ? lower - 'a' + 10 : -1;
}

} // namespace

uint32 getColorFromString(SmartCStr text, float alpha) {
    const LowerCaseName name(text);
    if (std::optional<IVec4<float>> color = webColor(name.view())) {
        color->w *= limited(alpha);
        return packed(*color);
    }
    for (const InterfaceColor& known : kInterfaceColors) {
        if (known.name == name.view()) return packed(known.color);
    }
    IVec4<float> color;
    return getColorFromHexString(text, color, alpha) ? packed(color) : kUnknown;
}

bool getColorFromHexString(SmartCStr text, IVec4<float>& out, float alpha) {
    const std::string_view digits = text.view();
    const size_t count = digits.size();
    if (count != 3 && count != 4 && count != 6 && count != 8) return false;
    const size_t perChannel = count > 4 ? 2 : 1;
    IVec4<float> color(0, 0, 0, limited(alpha));
    for (size_t i = 0; i < count; i += perChannel) {
        const int high = digitValue(digits[i]);
        const int low = digitValue(digits[i + perChannel - 1]);
        if (high < 0 || low < 0) return false;
        color[static_cast<int>(i / perChannel)] = static_cast<float>(high * 16 + low) / 255;
    }
    out = color;
    return true;
}

bool getColorFromWebColor(SmartCStr name, IVec4<float>& out) {
    const std::optional<IVec4<float>> color = webColor(LowerCaseName(name).view());
    if (color) out = *color;
    return color.has_value();
}

IVec4<float> getColorFromRGBBytes(uint8 red, uint8 green, uint8 blue) {
    return {static_cast<float>(red) / 255, static_cast<float>(green) / 255, static_cast<float>(blue) / 255,
            1};
}

// Source: A. R. Smith, "Color Gamut Transform Pairs", SIGGRAPH 1978: six sectors of hue, each with one
// channel that rises or falls.
IVec3<float> convertHSVtoRGB(const IVec3<float>& hsv) {
    const float saturation = limited(hsv.y);
    const float value = limited(hsv.z);
    const float turns = std::isfinite(hsv.x) ? hsv.x - std::floor(hsv.x) : 0.0f;
    const int sector = static_cast<int>(turns * 6) % 6;
    const float part = turns * 6 - std::floor(turns * 6);
    const float low = value * (1 - saturation);
    const float falling = value * (1 - saturation * part);
    const float rising = value * (1 - saturation * (1 - part));
    switch (sector) {
    case 0:
        return {value, rising, low};
    case 1:
        return {falling, value, low};
    case 2:
        return {low, value, rising};
    case 3:
        return {low, falling, value};
    case 4:
        return {rising, low, value};
    default:
        return {value, low, falling};
    }
}

} // namespace qel::util
