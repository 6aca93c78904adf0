#include <qel/text/engine/bidi_class_p.h>
#include <qel/text/engine/text_actor.h>

#include <tests/text/engine/engine_fixture.h>

#include <fribidi.h>

#include <algorithm>
#include <array>
#include <fstream>
#include <map>
#include <random>
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

TEST_F(RightToLeft, EmbeddingsDeeperThanTheLimitAreOnlyCounted) {
    constexpr size_t kDeepest = 63, kOverflow = 137; // levels 1, 3, ..., 125
    String text;
    const auto append = [&text](size_t count, uint32 codePoint) {
        for (size_t i = 0; i < count; ++i) text.utf8_append(codePoint);
    };
    append(kDeepest + kOverflow, 0x202E);
    append(1, 'a');
    append(kOverflow, 0x202C);
    append(1, 'b');
    append(kDeepest, 0x202C);
    append(1, 'c');
    const std::string shown = directions(text);
    EXPECT_EQ(shown[kDeepest + kOverflow], 'R');
    EXPECT_EQ(shown[kDeepest + 2 * kOverflow + 1], 'R');
    EXPECT_EQ(shown[2 * kDeepest + 2 * kOverflow + 2], '-');
}

TEST_F(RightToLeft, EachLineHasItsOwnDirection) {
    EXPECT_EQ(directions("\u05D0\u05D1\na \u05D0"), "RRR--R---");
    EXPECT_EQ(directions("\u05D0{bold_on}\u05D1{eop}a", TextActor::Parser::ControlCodes), "RRRR-----");
    EXPECT_EQ(directions("a\u2029\u05D0"), "--RR--") << "a paragraph separator as a character";
}

TEST_F(RightToLeft, CharactersAboveTheBasicPlaneHaveTheirOwnClass) {
    EXPECT_EQ(directions("a\U0001202Eb"), "------") << "the lower half is a control";
    EXPECT_EQ(directions("\U00010800"), "RR--");
    EXPECT_EQ(directions("\U0001E900"), "RR--");
    EXPECT_EQ(directions("\U0001EE00"), "RR--");
    EXPECT_EQ(directions("\u05D0\U0001F600\u05D0"), "RRRR--");
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

/// A character of each class that the text pass honours.
const std::map<std::string, uint32> kSamples = {
    {"L", 'a'},      {"R", 0x5D0},    {"AL", 0x628},   {"EN", '1'},     {"ES", '-'},
    {"ET", '$'},     {"AN", 0x661},   {"CS", ','},     {"NSM", 0x301},  {"BN", 0x200D},
    {"B", 0x2029},   {"S", 0x1F},     {"WS", 0x2003},  {"ON", '!'},     {"LRE", 0x202A},
    {"LRO", 0x202D}, {"RLE", 0x202B}, {"RLO", 0x202E}, {"PDF", 0x202C},
};

/// A line of BidiTest.txt: classes and the levels that they resolve to, "x" where they are removed.
struct StandardCase {
    std::vector<std::string> classes;
    std::vector<std::string> levels;

    bool isForTexts() const {
        return std::ranges::all_of(classes,
                                   [](const std::string& name) { return kSamples.count(name) != 0; });
    }
    /// Returns true unless the level is undefined or comes from rule L1, which texts do not apply.
    bool isComparable(size_t index) const {
        if (levels[index] == "x") return false;
        while (index < classes.size() && (classes[index] == "WS" || levels[index] == "x")) ++index;
        return index < classes.size() && classes[index] != "S" && classes[index] != "B";
    }
};

std::vector<std::string> wordsOf(const std::string& text) {
    std::istringstream stream(text);
    return {std::istream_iterator<std::string>(stream), {}};
}

std::vector<StandardCase> standardCases(std::istream& file) {
    std::vector<StandardCase> cases;
    std::vector<std::string> levels;
    for (std::string line; std::getline(file, line);) {
        if (line.starts_with("@Levels:")) levels = wordsOf(line.substr(8));
        const size_t end = line.find(';');
        if (line.empty() || line[0] == '#' || line[0] == '@' || end == line.npos) continue;
        StandardCase found{wordsOf(line.substr(0, end)), levels};
        const bool isAutomatic = (line.back() - '0') % 2 == 1;
        if (isAutomatic && found.isForTexts()) cases.push_back(std::move(found));
    }
    return cases;
}

TEST_F(RightToLeft, AgreesWithTheStandardsTests) {
    std::ifstream file("/usr/share/unicode/BidiTest.txt");
    if (!file) GTEST_SKIP() << "the package unicode-data is not installed";
    const std::vector<StandardCase> cases = standardCases(file);
    EXPECT_GT(cases.size(), 50'000u);
    String text;
    for (const StandardCase& standard : cases) {
        for (const std::string& name : standard.classes) text.utf8_append(kSamples.at(name));
        text += '\n';
    }
    const std::string shown = directions(text);
    size_t position = 0, compared = 0;
    for (const StandardCase& standard : cases) {
        for (size_t i = 0; i < standard.classes.size(); ++i, ++position) {
            if (!standard.isComparable(i)) continue;
            const char expected = (standard.levels[i].back() - '0') % 2 == 1 ? 'R' : '-';
            ASSERT_EQ(shown[position], expected) << testing::PrintToString(standard.classes) << " at " << i;
            ++compared;
        }
        ++position;
    }
    EXPECT_GT(compared, 100'000u);
}

/// The class of each assigned character, from UnicodeData.txt.
std::map<uint32, std::string> standardClasses(std::istream& file) {
    std::map<uint32, std::string> classes;
    for (std::string line; std::getline(file, line);) {
        std::vector<std::string> fields;
        std::istringstream stream(line);
        for (std::string field; fields.size() < 5 && std::getline(stream, field, ';');)
            fields.push_back(field);
        classes[static_cast<uint32>(std::stoul(fields[0], nullptr, 16))] = fields[4];
    }
    return classes;
}

TEST_F(RightToLeft, EveryCharacterHasTheStandardsClass) {
    std::ifstream file("/usr/share/unicode/UnicodeData.txt");
    if (!file) GTEST_SKIP() << "the package unicode-data is not installed";
    const std::map<uint32, std::string> classes = standardClasses(file);
    EXPECT_GT(classes.size(), 30'000u);
    const std::set<std::string> turning = {"R", "AL", "AN", "RLE", "RLO"};
    const auto isSurrogate = [](uint32 codePoint) { return codePoint - 0xD800 < 0x800; };
    String text;
    for (const auto& [codePoint, name] : classes) {
        if (turning.contains(name)) {
            EXPECT_TRUE(internal::mayTurnRightToLeft(codePoint)) << codePoint;
        }
        if (codePoint < 0x20 || isSurrogate(codePoint)) continue;
        text.utf8_append(codePoint);
        text += '\n';
    }
    const std::string shown = directions(text);
    size_t position = 0;
    for (const auto& [codePoint, name] : classes) {
        if (codePoint < 0x20 || isSurrogate(codePoint)) continue;
        ASSERT_EQ(shown[position], name == "R" || name == "AL" ? 'R' : '-') << codePoint;
        position += 2;
    }
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

TEST_F(RightToLeft, AgreesWithFriBidiOnRandomTexts) {
    constexpr std::array<FriBidiChar, 18> kCharacters = {'a',    0x5D0,  0x628,  '1',    '-',    '$',
                                                         0x661,  ',',    0x301,  0x200D, 0x2003, '!',
                                                         0x202A, 0x202D, 0x202B, 0x202E, 0x202C, 0x202C};
    std::mt19937 random(7); // NOLINT(cert-msc51-cpp): the same texts in each run
    for (int run = 0; run < 3000; ++run) {
        std::vector<FriBidiChar> characters(1 + random() % 40);
        for (FriBidiChar& character : characters) character = kCharacters[random() % kCharacters.size()];
        characters.push_back(run % 2 == 0 ? 'a' : 0x5D0); // so that the text does not end in white space
        String text;
        for (const FriBidiChar character : characters) text.utf8_append(character);
        ASSERT_EQ(directions(text).substr(0, characters.size()), directionsOfFriBidi(characters))
            << testing::PrintToString(characters);
    }
}

} // namespace
} // namespace qel
