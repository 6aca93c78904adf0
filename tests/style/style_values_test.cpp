// How the values of declarations are read.
#include "style_fixture.h"

#include <qel/plugins/resource_locator.h>
#include <qel/plugins/resource_provider.h>

#include <limits>

namespace qel {
namespace {

using test::LogCapture;

class StyleValues : public test::StyleFixture {
protected:
    static constexpr IVec4<float> kBefore = {2, 3, 4, 5};

    /// Asks for the colour of a button whose only declaration has the value @p css.
    /// @param color  receives the answer, or kBefore. @return the result of the getter.
    static bool askColor(const std::string& css, IVec4<float>& color) {
        const SmartPointer<StyleData> data = parsed("Button{width:" + css + "}");
        color = kBefore;
        return data->getColor(color, kButton, "width", nullptr, nullptr, nullptr);
    }
};

TEST_F(StyleValues, ColorsHaveManyForms) {
    const std::pair<const char*, IVec4<float>> colors[] = {
        {"LIME ! IMPORTANT ", {0, 1, 0, 1}},
        {"#3333FF33", {0.2f, 0.2f, 1, 0.2f}},
        {"RGB(51,255,0)", {0.2f, 1, 0, 1}},
        {"rgb(51.9, 999, -5)", {0.2f, 1, 0, 1}},
        {"rgb(100%, 0%, 25500%)",
         {1.0f / 255, 0, 1, 1}}, // a percentage is divided by 100, then cut to a byte
        {"rgba(255, 0, 0, 25%)", {1, 0, 0, 0.25f}},
        {"hsl(-270, 100%, 50%)", {0.25f, 0.5f, 0, 1}},
        {"hsl(810, 300%, 100%)", {0.5f, 1, 0, 1}},
    };
    for (const auto& [css, expected] : colors) {
        IVec4<float> color;
        EXPECT_TRUE(askColor(css, color)) << css;
        EXPECT_EQ(color, expected) << css;
    }
}

TEST_F(StyleValues, OnlyFunctionsWithOtherArgumentsAreNotFound) {
    IVec4<float> color;
    for (const char* css :
         {"", "red blue", "7", "7px", "7%", "'red'", "url(red)", "(red)", ",", "red,", "@red"}) {
        EXPECT_TRUE(askColor(css, color)) << css;
        EXPECT_EQ(color, kBefore) << css;
    }
    for (const char* css :
         {"rgb(1 2 3)", "rgb(1,2)", "rgb(1,2,3,4)", "rgb(1,2,3,)", "rgb(1;2;3)", "rgb(a,2,3)", "rgb(1px,2,3)",
          "rgb(f(1),2,3)", "rgb(1,f(,3))", "rgb()", "rgba(1,2,3)", "rgba(1,2,3,a)", "hsl(1,2,3)",
          "hsl(1%,2%,3%)", "hsl(1deg,2%,3%)", "rgb((1),2,3)"}) {
        EXPECT_FALSE(askColor(css, color)) << css;
        EXPECT_EQ(color, kBefore) << css;
    }
}

TEST_F(StyleValues, PixelsAreTruncated) {
    const std::pair<const char*, int> lengths[] = {
        {"7.99PX", 7},
        {"-7.99px", -7},
        {"1e3px", 1000},
        {"2147483647px", std::numeric_limits<int>::max()},
        {"-1e30px", std::numeric_limits<int>::min()},
        {"1e99999999999999999999px", std::numeric_limits<int>::max()},
        {"1e-99999999999999999999px", 0},
    };
    for (const auto& [css, expected] : lengths)
        EXPECT_EQ(lengthIn(std::string("Button{width:") + css + "}"), expected) << css;
    EXPECT_EQ(lengthIn("Button{width:" + std::string(1000, '9') + "px}"), std::numeric_limits<int>::max());
    EXPECT_EQ(lengthIn("Button{width:0." + std::string(1000, '0') + "9e1001px}"), 9);
}

TEST_F(StyleValues, UrlsAreTexts) {
    const std::pair<const char*, const char*> urls[] = {
        {"URL( a )", "a"},  {"url('a b')", "a b"},       {"url( \"a'(b\" )", "a'(b"},
        {"url()", ""},      {"url(a\\)\\41 b)", "a)Ab"}, {"url('\\1F600')", "\xF0\x9F\x98\x80"},
        {"\\75rl(a)", "a"}, {"url('a\\\nb')", "ab"},     {"url('\\0\\D800\\110000')", "\uFFFD\uFFFD\uFFFD"},
    };
    for (const auto& [css, expected] : urls)
        EXPECT_EQ(url(*parsed(std::string("Button{width:") + css + "}")), expected) << css;
    const std::string_view invalid("Button{width:url('a\0b\xE9')}", 25);
    EXPECT_EQ(url(*parsed(invalid)), "a\uFFFDb\u00E9");
    for (const char* css : {"a", "'a'", "url(a) b", "url('a' b)", "url(a)url(b)", "src(a)", ""})
        EXPECT_EQ(url(*parsed(std::string("Button{width:") + css + "}")), std::nullopt) << css;
}

/// Empties a stylesheet when it is asked for a translation.
class EmptyingProvider : public ResourceProvider {
public:
    explicit EmptyingProvider(StyleData* data) : m_data(data) {}
    bool hasResource(SmartCStr name) override {
        if (name.view().starts_with("tr-")) m_data->loadFromMemory({});
        return false;
    }
    bool loadResource(SmartCStr name, Buffer&) override { return hasResource(name); }

private:
    SmartPointer<StyleData> m_data;
};

TEST_F(StyleValues, TheStylesheetMayBeReplacedDuringATranslation) {
    LogCapture log;
    const SmartPointer<StyleData> data = parsed("Button { label: url(tr://a-key-that-needs-memory) }");
    const SmartPointer<ResourceProvider> provider(new EmptyingProvider(data.get()));
    system().getResourceLocator()->addResourceProvider(provider.get());
    String text = "before";
    EXPECT_TRUE(data->getTranslation(text, kButton, "label", nullptr, nullptr, nullptr));
    EXPECT_EQ(text, "NOTR:a-key-that-needs-memory");
    log.expect(2, "[TR] missing translation of 'a-key-that-needs-memory'");
    system().getResourceLocator()->removeResourceProvider(provider.get());
}

} // namespace
} // namespace qel
