#include <hosts/widgets/look.h>

#include <qel/style/style_data.h>
#include <qel/style/theme.h>
#include <qel/system/core/system.h>

namespace qelwidgets {

namespace {

constexpr Color gray(float value) {
    return {value, value, value, 1};
}

} // namespace

Color styleColor(const char* tag, const char* property, const char* className, const Color& fallback) {
    const qel::ClassChain chain{"Object", tag};
    Color color = fallback;
    qel::StyleData& style = *qel::Object::system()->getTheme()->getStyleData();
    style.getColor(color, chain, property, nullptr, nullptr, className);
    return color;
}

Look Look::read() {
    const qel::Theme& theme = *qel::Object::system()->getTheme();
    Look look;
    look.background = styleColor("Screen", "background-color", nullptr, gray(0.1f));
    look.text = styleColor("Screen", "color", nullptr, gray(0.95f));
    look.faintText = styleColor("Screen", "color", "faint", gray(0.65f));
    look.accent = styleColor("Screen", "accent-color", nullptr, {0.98f, 0.78f, 0.23f, 1});
    look.bar = styleColor("Toolbar", "background-color", nullptr, gray(0.13f));
    look.card = styleColor("Card", "background-color", nullptr, gray(0.16f));
    look.line = styleColor("Card", "border-color", nullptr, gray(0.35f));
    look.button = styleColor("Button", "background-color", nullptr, gray(0.26f));
    look.pressed = styleColor("Button", "background-color", "pressed", {0.19f, 0.43f, 0.64f, 1});
    look.buttonText = styleColor("Button", "color", nullptr, gray(0.95f));
    look.field = styleColor("TextField", "background-color", nullptr, gray(0.06f));
    look.space = static_cast<float>(theme.buttonSpacing());
    look.buttonHeight = static_cast<float>(theme.buttonSize());
    return look;
}

} // namespace qelwidgets
