#include <qel/text/engine/bidi_class_p.h>
#include <qel/text/engine/text_actor.h>

#include <tests/text/engine/engine_fixture.h>

#include <fribidi.h>

#include <array>
#include <fstream>
#include <random>
#include <set>
#include <sstream>
#include <string>

namespace qel {
namespace {

class RightToLeft : public test::TextEngine {
protected:
    // Reads a text and returns an "R" for each token that runs from right to left, otherwise "-".
    static std::string directions(const String& text, TextActor::Parser parser = TextActor::Parser::Plain) {
        TextActor actor;
        actor.setParser(parser).setText(text).update();
        std::string shown;
        for (const Token& token : actor.getTokens()) shown += token.rightToLeft ? 'R' : '-';
        return shown;
    }
};

TEST_F(RightToLeft, BracketsAndIsolatesAreNeutral) {
    EXPECT_EQ(directions("\u05D0 (\u05D1) 1"), "RRRRRR-R--");
    EXPECT_EQ(directions("a (\u05D0) b"), "---R------");
    EXPECT_EQ(directions("a\u2067b\u05D0\u2069b"), "---R-----");
    EXPECT_EQ(directions("\u2067\u05D0\u2069a"), "RRR-R--");
}

TEST_F(RightToLeft, EachLineHasItsOwnDirection) {
    EXPECT_EQ(directions("\u05D0\u05D1\na \u05D0"), "RRR--R---");
    EXPECT_EQ(directions("\u05D0{bold_on}\u05D1{eop}a", TextActor::Parser::ControlCodes), "RRRR-----");
    EXPECT_EQ(directions("a\u2029\u05D0"), "--RR--") << "a paragraph separator as a character";
}

TEST_F(RightToLeft, LongTextsTakeLinearTime) {
    for (const char* piece :
         {"[א]", "\u2067א\u2069", "\u202Ea", "\u202Ba\u202C", "a א ", "\nא", "١ ", "\u0301"}) {
        String text = "א";
        while (text.size() < 256 << 10) text += piece;
        EXPECT_EQ(directions(text)[0], 'R') << piece;
    }
}

// --- the standard's own data -----------------------------------------------------------------------------

TEST_F(RightToLeft, EveryCharacterHasTheStandardsClass) {
    std::ifstream file("/usr/share/unicode/UnicodeData.txt");
    if (!file) GTEST_SKIP() << "the package unicode-data is not installed";
    const std::set<std::string> turning = {"R", "AL", "AN", "RLE", "RLO"};
    String text;
    std::string expected;
    for (std::string line; std::getline(file, line);) {
        const auto codePoint = static_cast<uint32>(std::stoul(line, nullptr, 16));
        std::istringstream fields(line);
        std::string name;
        for (int field = 0; field < 5; ++field) std::getline(fields, name, ';');
        if (turning.contains(name)) {
            EXPECT_TRUE(internal::mayTurnRightToLeft(codePoint)) << codePoint;
        }
        if (codePoint < 0x20 || codePoint - 0xD800 < 0x800) continue; // controls and surrogates
        text.utf8_append(codePoint);
        text += '\n';
        expected += name == "R" || name == "AL" ? "RR" : "--";
    }
    EXPECT_GT(expected.size(), 60'000u);
    const std::string shown = directions(text);
    for (size_t i = 0; i < expected.size(); ++i) ASSERT_EQ(shown[i], expected[i]) << i / 2;
}

// --- another implementation ------------------------------------------------------------------------------

std::string directionsOfFriBidi(const std::vector<FriBidiChar>& text) {
    const auto size = static_cast<FriBidiStrIndex>(text.size());
    std::vector<FriBidiCharType> types(text.size());
    std::vector<FriBidiLevel> levels(text.size());
    fribidi_get_bidi_types(text.data(), size, types.data());
    FriBidiParType direction = FRIBIDI_PAR_ON;
    EXPECT_NE(fribidi_get_par_embedding_levels_ex(types.data(), nullptr, size, &direction, levels.data()), 0);
    std::string shown;
    for (const FriBidiLevel level : levels) shown += level % 2 == 1 ? 'R' : '-';
    return shown;
}

// Every tenth text begins with embeddings; the deepest ones are only counted.
TEST_F(RightToLeft, AgreesWithFriBidiOnRandomTexts) {
    constexpr std::array<FriBidiChar, 18> kCharacters = {'a',    0x5D0,  0x628,  '1',    '-',    '$',
                                                         0x661,  ',',    0x301,  0x200D, 0x2003, '!',
                                                         0x202A, 0x202D, 0x202B, 0x202E, 0x202C, 0x202C};
    std::mt19937 random(7); // NOLINT(cert-msc51-cpp): the same texts in each run
    for (int run = 0; run < 10'000; ++run) {
        std::vector<FriBidiChar> characters(run % 10 == 0 ? 55 + random() % 140 : 0, 0x202E);
        for (size_t i = 1 + random() % 40; i > 0; --i)
            characters.push_back(kCharacters[random() % kCharacters.size()]);
        characters.push_back(run % 2 == 0 ? 'a' : 0x5D0); // so that the text does not end in white space
        String text;
        for (const FriBidiChar character : characters) text.utf8_append(character);
        ASSERT_EQ(directions(text).substr(0, characters.size()), directionsOfFriBidi(characters))
            << testing::PrintToString(characters);
    }
}

} // namespace
} // namespace qel
