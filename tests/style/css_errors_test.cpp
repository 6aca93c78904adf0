// What counts as an error of a stylesheet, and where it is reported.
#include "style_fixture.h"

namespace qel {
namespace {

using test::LogCapture;

class CssErrors : public test::StyleFixture {
protected:
    /// Returns the numbered errors of @p css, one per line.
    static std::vector<std::string> errorsOf(std::string_view css) {
        LogCapture log;
        const SmartPointer<StyleData> data = new StyleData;
        const bool isParsed = data->loadFromMemory(ConstByteSpan::fromText(css));
        std::vector<std::string> lines = logged(log);
        EXPECT_EQ(isParsed, lines.empty()) << css;
        if (lines.empty()) return lines;
        EXPECT_EQ(lines.front(), "css parse errors:") << css;
        lines.erase(lines.begin());
        return lines;
    }
};

TEST_F(CssErrors, CorrectSheetsHaveNone) {
    for (const char* css : {"",
                            " \n\t/* nothing */",
                            "a{;;}",
                            "a{b:}",
                            "a{--b:;}",
                            "a{b:(c[d{e}])}",
                            "a,b c,d>e,f+g,h~i,j||k{}",
                            "*,*.a,.a.b,#a,a#b.c::d:e{}",
                            ":not(a,b):is(){}",
                            "[a],[a=b],[a~='b'],[a|=b i],[a^=b],[a$=b],[ a *= \"b\" s ]{}",
                            "x|a,*|*,|a,[x|a],[*|a],[|a]{}",
                            "<!-- a{} -->",
                            "@charset 'a';@media x{a{b:c}}",
                            "@media x{*zoom:1;)]'\n}",
                            "a{@b c;@d{e}f:g}",
                            "a{b:url()}",
                            "a{b:url( 'c' )}",
                            "a{b:url(c\\)d)}",
                            "\\61\\ b{c:\\}}",
                            "a{b:'\\\n'}",
                            "a{b:c!important}",
                            "a{b:progid:c(d='e',f=0)}",
                            "\xEF\xBB\xBF"
                            "a{b:c}"})
        EXPECT_EQ(errorsOf(css), std::vector<std::string>()) << css;
}

TEST_F(CssErrors, EachKindIsReportedWithItsPlace) {
    const std::pair<const char*, std::vector<std::string>> cases[] = {
        {"a{b:'c\n}", {"0: 1:5: the string is not closed in its line"}},
        {"a{b:'c", {"0: 1:2: the bracket is not closed", "1: 1:5: the string is not closed"}},
        {"a{}/* b", {"0: 1:4: the comment is not closed"}},
        {"a{b:url(c d)}", {"0: 1:11: a space in a URL without quotes"}},
        {"a{b:url(c\"d)}", {"0: 1:10: a character in a URL that needs quotes"}},
        {"a{b:url(c\\\n)}", {"0: 1:10: a backslash that escapes nothing in a URL"}},
        {"a{b:url(c", {"0: 1:2: the bracket is not closed", "1: 1:5: the URL is not closed"}},
        {"a{b:c(d}",
         {"0: 1:2: the bracket is not closed", "1: 1:5: the bracket is not closed",
          "2: 1:8: a closing bracket without an opening one"}},
        {"a{b:c", {"0: 1:2: the bracket is not closed"}},
        {"a{b:\\\n}", {"0: 1:5: a backslash that escapes nothing"}},
        {"a{b:\\", {"0: 1:2: the bracket is not closed", "1: 1:6: the stylesheet ends in an escape"}},
        {"a{b:c)}", {"0: 1:6: a closing bracket without an opening one"}},
        {"}a{}", {"0: 1:1: a closing bracket without an opening one"}},
        {"a{*zoom:1}", {"0: 1:3: a declaration without a name"}},
        {"a{b c;d:e}", {"0: 1:3: a declaration without a colon"}},
        {"a", {"0: 1:1: a rule without a block"}},
        {"a[b", {"0: 1:1: a rule without a block", "1: 1:2: the bracket is not closed"}},
        {"@media a", {"0: 1:1: the rule is not finished"}},
        {"{}", {"0: 1:1: not a selector"}},
        {" \n é é{}5%{}", {"0: 2:7: not a selector"}},
    };
    for (const auto& [css, errors] : cases) EXPECT_EQ(errorsOf(css), errors) << css;
}

TEST_F(CssErrors, OtherThanSelectorsAreErrors) {
    for (const char* selector :
         {"a,",  ",a",    "a,,b", "a>",  ">a",  "a>>b",  "a..b", "#5",    "a:",        "a::",   "a:::b",
          ".5a", "5",     "50%",  "a!",  "[]",  "[=b]",  "[a=]", "[a b]", "[a=b c d]", "[a=5]", "a|",
          "|",   "a|b|c", "'a'",  "a$b", "(a)", "a b()", "::",   "a||",   "&"}) {
        LogCapture log;
        const SmartPointer<StyleData> data = new StyleData;
        EXPECT_FALSE(data->loadFromMemory(ConstByteSpan::fromText(std::string(selector) + "{}"))) << selector;
        EXPECT_EQ(log.take().size(), 2u) << selector;
    }
}

TEST_F(CssErrors, PlacesCountLinesOfAllKindsAndCharacters) {
    EXPECT_EQ(errorsOf("a{}\r\nb{}\rc{}\fd{}\n\xC3\xA9{x}"),
              std::vector<std::string>{"0: 5:3: a declaration without a colon"});
}

TEST_F(CssErrors, ALargeSheetIsRefused) {
    std::string css(16 << 20, ' ');
    EXPECT_EQ(errorsOf(css), std::vector<std::string>());
    css.push_back(' ');
    EXPECT_EQ(errorsOf(css), std::vector<std::string>{"0: 1:1: the stylesheet is larger than 16 MiB"});
}

TEST_F(CssErrors, AFaultySheetIsEmptyAndItsParentAnswers) {
    LogCapture log;
    const SmartPointer<StyleData> parent = parsed("Button{width:1px}");
    const SmartPointer<StyleData> data = parsed("Button{width:2px}");
    data->setParent(parent.get());
    EXPECT_EQ(length(*data), 2);
    EXPECT_FALSE(data->loadFromMemory(ConstByteSpan::fromText("Button{width:3px}a{b}")));
    EXPECT_EQ(length(*data), 1);
    EXPECT_EQ(log.take().size(), 2u);
}

} // namespace
} // namespace qel
