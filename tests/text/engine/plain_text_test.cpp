#include <tests/text/engine/engine_fixture.h>

#include <string>

namespace qel {
namespace {

using Parser = TextActor::Parser;

class PlainText : public test::TextEngine {
protected:
    struct Conversion {
        std::string text;
        std::string plain;
    };
    static void expectPlain(const std::vector<Conversion>& cases) {
        for (const auto& [text, plain] : cases)
            EXPECT_EQ(String(text).transformControlCodesToPlainText(nullptr), plain) << text;
    }
};

TEST_F(PlainText, CodesBecomeWhiteSpaceOrNothing) {
    expectPlain({
        {"no codes", "no codes"},
        {"a{eol}b{optional_eol}c", "a\nb\nc"},
        {"a{tab}b{half_tab}c{tabstop:3}d", "a\tb\tc\td"},
        {"a{spacer}b{quarter_spacer}c", "a b c"},
        {"{color:red}a{eop}b{}c", "abc"},
        {"a{b{eol}c}", "a\nc}"},
        {"{!eol}", "\n"},
    });
}

TEST_F(PlainText, CodesEndInTheirLine) {
    expectPlain({
        {"a{co\nlor}", "a{co\nlor}"},
        {"{a\n{eol}", "{a\n\n"},
        {"{a", "{a"},
    });
    const String open = std::string(1 << 20, '{');
    EXPECT_EQ(open.transformControlCodesToPlainText(nullptr), open);
    const String zero(std::string("a\0{\0}b", 6));
    EXPECT_EQ(zero.transformControlCodesToPlainText(nullptr), String(std::string("a\0b", 3)));
}

TEST_F(PlainText, TranslationsAreInserted) {
    translate("k.de", "deutsch{tab}");
    EXPECT_EQ(String("{tr:k}x").transformControlCodesToPlainText("de"), "deutsch\tx");
}

TEST_F(PlainText, DependsOnTheParser) {
    TextActor actor;
    actor.setText("*a* {eol}{!");
    EXPECT_EQ(actor.getPlainText(), "*a* {eol}{!");
    actor.setParser(Parser::ControlCodes);
    EXPECT_EQ(actor.getPlainText(), "*a* \n{!");
    actor.setText("*a* {eol}").setParser(Parser::Markdown);
    EXPECT_EQ(actor.getPlainText(), "\na \n\n\n\n");
}

} // namespace
} // namespace qel
