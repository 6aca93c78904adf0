// Checks the examples of docs/style.md.
#include "style_fixture.h"

#include <tests/support/shipped_fonts.h>
#include <tests/support/source_dir.h>

#include <qel/render/sprite.h>
#include <qel/style/theme.h>

#include <cmath>
#include <regex>
#include <sstream>

namespace qel {
namespace {

using test::LogCapture;

/// A question as the page writes it, "Tag#id.class::pseudo property: kind answer".
struct Question {
    explicit Question(const std::string& line) {
        static const std::regex form(R"((\w+)(#\w+)?(\.\w+)?(::\w+)? ([\w-]+): (\w+) (.*))");
        std::smatch match;
        EXPECT_TRUE(std::regex_match(line, match, form)) << line;
        tag = match[1];
        if (match[2].matched) id = match[2].str().substr(1);
        if (match[3].matched) className = match[3].str().substr(1);
        if (match[4].matched) pseudo = match[4].str().substr(2);
        property = match[5];
        kind = match[6];
        answer = match[7];
    }

    /// Returns the answer of @p data in the words of the page.
    std::string ask(StyleData& data) const {
        const ClassChain chain = {"Object", "Actor", tag.c_str()};
        const auto get = [&](auto getter, auto& out) {
            return (data.*getter)(out, chain, property.c_str(), orNull(id), orNull(pseudo),
                                  orNull(className));
        };
        if (kind == "color") return color(get);
        std::ostringstream text;
        int length = 0;
        Sprite* sprite = nullptr;
        String string;
        if (kind == "length" && get(&StyleData::getPixelLength, length)) text << length;
        if (kind == "sprite" && get(&StyleData::getSprite, sprite))
            text << (sprite == Object::system()->getSprite(answer) ? answer : "another");
        if (kind == "translation" && get(&StyleData::getTranslation, string)) text << string;
        if (kind == "url" && get(&StyleData::getUrl, string)) text << string;
        return text.str().empty() ? "nothing" : text.str();
    }

    std::string tag, id, className, pseudo, property, kind, answer;

private:
    static const char* orNull(const std::string& text) { return text.empty() ? nullptr : text.c_str(); }
    template <typename Get>
    static std::string color(const Get& get) {
        IVec4<float> value(-1, -1, -1, -1);
        if (!get(&StyleData::getColor, value)) return "nothing";
        if (value.x < 0) return "unchanged";
        std::ostringstream text;
        for (int i = 0; i < 4; ++i) text << (i == 0 ? "" : " ") << std::lround(value[i] * 255);
        return text.str();
    }
};

class StyleDocumentation : public test::WithShippedFonts<test::StyleFixture> {
protected:
    void SetUp() override {
        WithShippedFonts::SetUp();
        LogCapture log;
        system().getTheme()->setDeviceForce(132, 1, 1000, 1000, 1, 1); // the medium font has 26 pixels
        log.take();
    }
    /// Checks the stated lines of an example. @return their number.
    static size_t check(const std::string& example) {
        static const std::regex stated(R"(/\*> (.*) \*/)");
        LogCapture log;
        const SmartPointer<StyleData> data = new StyleData;
        const bool isLoaded = data->loadFromMemory(ConstByteSpan::fromText(example));
        if (!isLoaded) log.expect(3, "css parse errors:");
        size_t errors = 0;
        size_t lines = 0;
        for (std::sregex_iterator i(example.begin(), example.end(), stated), end; i != end; ++i, ++lines) {
            const std::string line = (*i)[1];
            if (line.starts_with("error "))
                log.expect(3, std::to_string(errors++) + ": " + line.substr(6));
            else if (line.starts_with("log "))
                log.expect(line.starts_with("log Unsupported length") ? 3 : 2, line.substr(4));
            else
                EXPECT_EQ(Question(line).ask(*data), Question(line).answer) << line;
        }
        EXPECT_EQ(isLoaded, errors == 0) << example;
        return lines;
    }
};

TEST_F(StyleDocumentation, EveryExampleHasTheStatedAnswers) {
    const auto examples = test::partsOf(test::sourceText("docs/style.md"), "\n```css\n", "\n```\n");
    EXPECT_EQ(examples.size(), 8u);
    for (const std::string& example : examples) EXPECT_GT(check(example), 0u);
}

} // namespace
} // namespace qel
