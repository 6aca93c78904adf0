#include <tests/text/engine/engine_fixture.h>

#include <string>

namespace qel {
namespace {

using test::LogCapture;
using Parser = TextActor::Parser;

struct Reading {
    std::string text;
    std::string tokens;
};

class ControlCodes : public test::TextEngine {
protected:
    static void expectRead(const std::vector<Reading>& cases, Parser parser = Parser::ControlCodes) {
        for (const auto& [text, tokens] : cases) EXPECT_EQ(read(text, parser), tokens) << text;
    }
};

std::string repeated(size_t count, const std::string& text) {
    std::string all;
    while (count-- > 0) all += text;
    return all;
}

TEST_F(ControlCodes, ParsersKeepOrJoinSpacesAndLines) {
    expectRead(
        {
            {"", "$"},
            {" a  b ", "_a__b_|¶$"},
            {"a\n\n b\n", "a||_b|¶$"},
            {"a\r\nb\r", "a|b|¶$"},
            {"{eol}\t{!", "{eol}\t{!|¶$"},
            {"\xC3\xA9\xFF\xE2\x82", "éÿâ‚|¶$"},
            {std::string("a\0b", 3), "a|¶$"},
        },
        Parser::Plain);
    expectRead(
        {
            {"  ", "$"},
            {" a  b ", "a_b|¶$"},
            {"a\n\r\n b\n", "a_b|¶$"},
            {"{eol}", "{eol}|¶$"},
        },
        Parser::Flowing);
    expectRead({{"- *a*", "{1}{3:ffffffff}{8:0.25}•{8:1}{10}{2:3}a{2:0}{11}|¶$"}}, Parser::Markdown);
}

TEST_F(ControlCodes, BracesStandForThemselvesBeforeAnExclamationMark) {
    expectRead({{"{!", "{|¶$"}, {"{!}", "{}|¶$"}, {"a{!eol}", "a{eol}|¶$"}, {"{!!", "{!|¶$"}, {"}", "}|¶$"}});
}

TEST_F(ControlCodes, SpaceIsAddedBetweenCharacters) {
    expectRead({
        {"{space}a{space} {space}b", "a_b|¶$"},
        {"a {bold_on} b", "a_{15:1}b|¶$"},
        {"{tabstop: -7px}a", "{17:-7}a|¶$"},
        {"{tabstop:x}a", "{17:0}a|¶$"},
        {"{tabstop:99999999999}a", "{17:2.14748e+09}a|¶$"},
        {"{tabstop:-99999999999}a", "{17:-2.14748e+09}a|¶$"},
    });
}

TEST_F(ControlCodes, LinesAndParagraphsEnd) {
    expectRead({
        {"a{end_of_line}{eol}b", "a||b|¶$"},
        {"a{eop}b", "a|¶b|¶$"},
        {"a{eol}{end_of_paragraph}b", "a|¶b|¶$"},
        {"a{eop}{eop}b", "a|¶¶b|¶$"},
        {"{eop}", "¶$"},
        {"{optional_eol}a{optional_end_of_line}{optional_eol}b", "a|b|¶$"},
        {"{optional_eop}a{optional_eop}{optional_end_of_paragraph}b", "a|¶b|¶$"},
        {"a{eol}{optional_eop}b", "a|¶b|¶$"},
        {"a {end_of_text}b", "a|¶$"},
        {"a {multiline_end_of_text}b", "a$"},
        {"a{eol}{multiline_end_of_text}", "a|$"},
    });
}

TEST_F(ControlCodes, SpacesBeforeAndAfterTheEndOfALineAreRemoved) {
    expectRead({
        {"a {eol} b", "a|b|¶$"},
        {"a {tab}{spacer}{tabstop:3}{eol}", "a|¶$"},
        {"a {bold_on} {tab}{bold_off}{eol}{tab}", "a{15:1}{15:0}|¶$"},
        {"a{eol} {tab}{optional_eol}b", "a|b|¶$"},
        {"{tab}", "$"},
    });
}

TEST_F(ControlCodes, UnterminatedCodeEndsTheText) {
    expectRead({{"a{", "a|¶$"}, {"a{eol{tab", "a|¶$"}, {std::string("a{e\0ol}b", 8), "a|¶$"}});
    EXPECT_EQ(read("a{" + repeated(1 << 20, "x")), "a|¶$");
}

TEST_F(ControlCodes, UnknownCodesAreReportedAndDropped) {
    const std::string codes[] = {":",     "Eol", " eol",  "eol:", "tab:1",
                                 "color", "tr",  "é\xC3", "a{b",  "a\nb\rc"};
    for (const std::string& code : codes) {
        LogCapture log;
        EXPECT_EQ(read("a{" + code + "}b"), "ab|¶$");
        log.expect(2, "unknown control code encountered: " + String(code).utf8_fix());
    }
    LogCapture log;
    EXPECT_EQ(read(repeated(2000, "{}")), "$");
    EXPECT_EQ(log.take().size(), 1001u);
}

TEST_F(ControlCodes, EnvironmentIsReadAsText) {
    system().setEnv("name", "a {bold_on}\xFF");
    system().setEnv("open", "{bold");
    system().setEnv("empty", "");
    EXPECT_EQ(read("x{env:name}y"), "xa_{15:1}ÿy|¶$");
    EXPECT_EQ(read("x{env:open}_off}y"), "x{15:0}y|¶$") << "a code may end after the inserted text";
    EXPECT_EQ(read("{env:name} y\n{env:empty} z"), "a_{15:1}ÿ_y_z|¶$") << "spaces after an inserted text";
    EXPECT_EQ(read("{env:empty}y"), "y|¶$");
    EXPECT_EQ(read("{env:é}"), "<NO-ENV:é>|¶$");
}

TEST_F(ControlCodes, TranslationsAreReadAsText) {
    translate("a", "A{tr:b}C");
    translate("b", "{bullet}");
    EXPECT_EQ(read("{tr:a}{tr:a}"), "A•CA•C|¶$");
    translate("a", "x{tr:a}y");
    translate("self", "{tr:other}");
    translate("other", "{tr:self}");
    Object::clearTrCache();
    EXPECT_EQ(read("{tr:a}"), "x<RECURSIVETR:tr:a>y|¶$");
    EXPECT_EQ(read("{tr:self}"), "<RECURSIVETR:tr:self>|¶$");
}

TEST_F(ControlCodes, IndexCountsEveryCodePointThatIsRead) {
    TextActor actor;
    system().setEnv("e", "xy");
    actor.setParser(Parser::ControlCodes).setText("é{tab}b{!c{env:e}d").update();
    const uint32 expected[] = {0, 5, 6, 8, 9, 17, 18, 19, 20, 20, 20};
    ASSERT_EQ(actor.getTokens().size(), std::size(expected));
    for (size_t i = 0; i < std::size(expected); ++i)
        EXPECT_EQ(actor.getTokens()[i].sourceIndex, expected[i]) << i;
    actor.setText("é{\xFF").update();
    EXPECT_EQ(actor.getTokens().back().sourceIndex, 3u) << "the end of an unterminated code";
}

TEST_F(ControlCodes, ExpansionsEndAtALimit) {
    system().setEnv("loop", "{env:loop}");
    system().setEnv("grow", "a{env:grow}{env:grow}");
    for (int level = 0; level < 10; ++level)
        system().setEnv(std::to_string(level), repeated(2, "{env:" + std::to_string(level + 1) + "}"));
    system().setEnv("10", "x");
    EXPECT_EQ(read("{env:0}"), repeated(1024, "x") + "|¶$");
    const std::string message = "[TEXT] text with more than 1048576 inserted pieces or 4194304 bytes of "
                                "them; the rest is not inserted";
    LogCapture log;
    EXPECT_EQ(read("a{env:loop}b{env:10}{bullet}"), "ab•|¶$");
    log.expect(3, message);
    TextActor actor;
    actor.setParser(Parser::ControlCodes).setText("{env:grow}b").update();
    log.expect(3, message);
    EXPECT_EQ(actor.getTokens().size(), (size_t(4) << 20) / 21 + 4);
}

} // namespace
} // namespace qel
