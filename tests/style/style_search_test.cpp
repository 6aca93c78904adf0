// The search through the index and the cache of answers equal the plain search, in answers and in log lines.
#include "style_fixture.h"

#include <qel/testing/style_search.h>

#include <array>
#include <random>

namespace qel {
namespace {

using test::LogCapture;

/// Writes random stylesheets with few names, so that many rules match.
class RandomSheet {
public:
    explicit RandomSheet(unsigned seed) : m_random(seed) {}

    std::string write() {
        std::string css;
        for (unsigned i = below(30); i > 0; --i) css += below(12) == 0 ? atRule() : rule();
        return css;
    }
    unsigned below(unsigned limit) { return static_cast<unsigned>(m_random() % limit); }
    template <size_t n>
    const char* one(const std::array<const char*, n>& texts) {
        return texts[below(n)];
    }

    static constexpr std::array<const char*, 5> kTags = {"Object", "Actor", "Text", "Button", "Other"};
    static constexpr std::array<const char*, 3> kNames = {"a", "b", "c"};
    static constexpr std::array<const char*, 6> kProperties = {"a", "b", "color", "width", "size", "none"};

private:
    std::string atRule() {
        return one<4>({"@media x{Button{color:red}}", "@page;", "@font-face{}", "@keyframes a{0%{}}"});
    }
    std::string selector() {
        std::string text = below(3) == 0 ? "" : one(kTags);
        if (below(4) == 0) text += std::string("#") + one(kNames);
        if (below(4) == 0) text += std::string(".") + one(kNames);
        if (below(4) == 0) text += std::string("::") + one(kNames);
        if (text.empty()) text = "*";
        if (below(20) == 0) text += one<4>({":hover", "[x]", " Object", ">Text"});
        return text;
    }
    std::string rule() {
        std::string text = selector();
        while (below(3) == 0) text += "," + selector();
        text += "{";
        for (unsigned i = below(6); i > 0; --i) text += std::string(one(kProperties)) + ":" + value() + ";";
        return text + "}";
    }
    std::string value() {
        if (below(3) == 0) return std::to_string(below(200)) + "px";
        return one<9>({"red", "blue", "#123", "#12", "bad", "3pt", "1px 2px", "url(b)", ""});
    }

    std::mt19937 m_random;
};

class StyleSearches : public test::StyleFixture {
protected:
    void TearDown() override {
        seams::setStyleSearch(seams::StyleSearch::Cached);
        StyleFixture::TearDown();
    }
    /// Answers questions chosen by @p seed from the same sheets. @return all answers and log lines.
    static std::vector<std::string> answers(seams::StyleSearch search, unsigned seed) {
        seams::setStyleSearch(search);
        LogCapture log;
        RandomSheet random(seed);
        const SmartPointer<StyleData> data = parsed(random.write());
        data->setParent(parsed(random.write()).get());
        std::vector<std::string> all;
        for (int i = 0; i < 60; ++i) {
            all.push_back(answer(*data, random));
            for (const std::string& line : logged(log)) all.push_back(line);
        }
        return all;
    }

private:
    static const char* nameOrNull(RandomSheet& random) {
        return random.below(2) == 0 ? nullptr : random.one(RandomSheet::kNames);
    }
    static std::string answer(StyleData& data, RandomSheet& random) {
        ClassChain chain{};
        for (size_t i = random.below(4); i > 0; --i) chain[i - 1] = random.one(RandomSheet::kTags);
        if (chain[0] == nullptr) chain = kButton;
        const char* const property = random.one(RandomSheet::kProperties);
        const char* const id = nameOrNull(random);
        const char* const pseudo = nameOrNull(random);
        const char* const name = nameOrNull(random);
        IVec4<float> color(2, 2, 2, 2);
        int pixels = -1;
        String url = "?";
        std::string text;
        text += data.getColor(color, chain, property, id, pseudo, name) ? "color " : "- ";
        text += data.getPixelLength(pixels, chain, property, id, pseudo, name) ? "length " : "- ";
        text += data.getUrl(url, chain, property, id, pseudo, name) ? "url " : "- ";
        for (int i = 0; i < 4; ++i) text += std::to_string(color[i]) + " ";
        return text + std::to_string(pixels) + " " + url;
    }
};

TEST_F(StyleSearches, HaveEqualAnswersAndLogLines) {
    size_t found = 0;
    for (unsigned seed = 0; seed < 300; ++seed) {
        const std::vector<std::string> plain = answers(seams::StyleSearch::Plain, seed);
        ASSERT_EQ(answers(seams::StyleSearch::Indexed, seed), plain) << "seed " << seed;
        ASSERT_EQ(answers(seams::StyleSearch::Cached, seed), plain) << "seed " << seed;
        for (const std::string& answer : plain) found += answer.starts_with("color ") ? 1 : 0;
    }
    EXPECT_GT(found, 1000u) << "the sheets should answer some of the questions";
}

TEST_F(StyleSearches, RememberManyQuestions) {
    std::string css;
    for (int i = 0; i < 5000; ++i) css += "p" + std::to_string(i) + ":" + std::to_string(i) + "px;";
    const SmartPointer<StyleData> data = parsed("Button{" + css + "}");
    for (int round = 0; round < 2; ++round) {
        for (int i = 0; i < 5000; ++i)
            ASSERT_EQ(length(*data, {}, kButton, ("p" + std::to_string(i)).c_str()), i);
    }
    const std::string longName(100'000, 'x');
    EXPECT_EQ(length(*data, {longName.c_str()}, kButton, "p7"), 7);
    EXPECT_EQ(length(*data, {longName.c_str()}, kButton, "p7"), 7);
}

} // namespace
} // namespace qel
