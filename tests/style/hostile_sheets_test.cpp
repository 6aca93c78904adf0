// Stylesheets that are made to take long, to use much memory or to overflow the stack.
#include "style_fixture.h"

namespace qel {
namespace {

using test::LogCapture;

constexpr size_t kMiB = 1 << 20;
constexpr size_t kLong = kMiB / 8;

class HostileSheets : public test::StyleFixture {
protected:
    static std::string repeated(std::string_view text, size_t bytes = kLong) {
        std::string all;
        all.reserve(bytes + text.size());
        while (all.size() < bytes) all += text;
        return all;
    }
    static bool isLoaded(const std::string& css) {
        return SmartPointer<StyleData>(new StyleData)->loadFromMemory(ConstByteSpan::fromText(css));
    }
};

TEST_F(HostileSheets, OneMebibyteOfBracketsEnds) {
    LogCapture log;
    for (const char* text : {"(", "{", "[", "a{b:("}) {
        EXPECT_FALSE(isLoaded(repeated(text, kMiB))) << text;
        EXPECT_EQ(log.take().size(), 101u) << text;
    }
}

TEST_F(HostileSheets, RepetitionsOfAnythingEnd) {
    LogCapture log;
    for (const char* text :
         {"a(",  "a{", "a{b:{", "a{@b{", "}",       ")", "@",    "@a{", "@a(", "\\",   "\"",
          "'\n", "/*", "url(",  "url('", "url(a b", ":", ";",    "a:",  "#",   ".",    "-",
          "+",   "1",  "1e",    "a,",    ",",       "!", "a b ", "[a",  ":a(", "\xFF", "\xE2\x82"}) {
        EXPECT_FALSE(isLoaded(repeated(text))) << text;
        const size_t lines = log.take().size();
        EXPECT_GT(lines, 1u) << text;
        EXPECT_LE(lines, 101u) << text;
    }
    for (const char* text :
         {" ", "<!-- ", "/**/", "a{}", "a{b:c;}", "a{b:(((c)))}", "@a;", "@a{b{c:d}}", "a,b{c:d;e:f}"})
        EXPECT_TRUE(isLoaded(repeated(text))) << text;
    EXPECT_FALSE(isLoaded(std::string(kLong, '\0')));
    EXPECT_EQ(log.take().size(), 2u);
}

TEST_F(HostileSheets, DeepNestingIsBalanced) {
    const std::string open = repeated("(");
    const std::string close = repeated(")");
    EXPECT_TRUE(isLoaded("a{b:" + open + close + "}"));
    EXPECT_TRUE(isLoaded("a:is" + open + close + "{}"));
    EXPECT_TRUE(isLoaded("@media " + open + close + "{" + repeated("{") + repeated("}") + "}"));
    EXPECT_EQ(url(*parsed("Button{width:url(b);height:" + open + close + "}")), "b");
}

TEST_F(HostileSheets, LongTextsArePassedThrough) {
    const std::string name = repeated("n");
    EXPECT_EQ(lengthIn(name + "," + name + "#" + name + ",Button{width:7px;" + name + ":" + name + "}"), 7);
    EXPECT_EQ(lengthIn("#" + name + "{width:7px}", {name.c_str()}), 7);
    EXPECT_EQ(url(*parsed("Button{width:url(" + name + ")}")), name);
    EXPECT_EQ(url(*parsed("Button{width:url('" + repeated("\\6e ") + "')}")), std::string(kLong / 4, 'n'));
    EXPECT_EQ(lengthIn("Button{width:" + repeated("1") + "px}"), 2147483647);
    EXPECT_EQ(lengthIn("Button{width:7px;width:" + repeated("1px ") + "}"), std::nullopt);
}

TEST_F(HostileSheets, ManyRulesSelectorsAndDeclarationsAreSearched) {
    EXPECT_EQ(lengthIn(repeated("Button{width:7px}")), 7);
    EXPECT_EQ(lengthIn("Button{width:7px}" + repeated("Button{height:1px}")), 7);
    EXPECT_EQ(lengthIn("Button{width:7px}" + repeated("Button{width:1px 2px}")), 7);
    EXPECT_EQ(lengthIn(repeated("Button,") + "Button{" + repeated("width:7px;") + "}"), 7);
    std::string selectors = "Button";
    std::string declarations = "width:7px";
    for (int i = 0; i < 50'000; ++i) {
        const std::string number = std::to_string(i);
        selectors += ",t" + number;
        declarations += ";p" + number + ":" + number + "px";
    }
    const SmartPointer<StyleData> data = parsed(selectors + "{" + declarations + "}");
    EXPECT_EQ(length(*data), 7);
    EXPECT_EQ(length(*data, {}, {"Object", "t49999"}, "p49999"), 49'999);
}

TEST_F(HostileSheets, AnEndAnywhereIsSurvived) {
    LogCapture log;
    const std::string css =
        "@charset \"a\";@media (b){c{d:e}}f>g#h.i::j:k(l)[m='n']{o:p(q,'r',url(s),#t,1.5e+3u%)!important;"
        "\\77 x:'\\79\\\nz'}/* c */\xC3\xA9{y:{z}}";
    for (size_t size = 0; size <= css.size(); ++size) {
        const SmartPointer<StyleData> data = new StyleData;
        data->loadFromMemory(ConstByteSpan::fromText(std::string(css.data(), size)));
        EXPECT_EQ(length(*data), std::nullopt) << size;
    }
    log.take();
}

} // namespace
} // namespace qel
