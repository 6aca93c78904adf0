#include <qel/text/engine/markdown.h>

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace qel {
namespace {

const std::string kStart = "{font:small-medium}{color:white}\n";
const std::string kEnd = "{end_of_text}\n";

struct Compilation {
    std::string source;
    std::string lines;
};

void expectCompiled(const std::vector<Compilation>& cases) {
    for (const auto& [source, lines] : cases) {
        String out = source;
        util::parseMarkdown(out, out);
        EXPECT_EQ(out, kStart + lines + kEnd) << source;
    }
}

std::string line(const std::string& text) {
    return "{push_margin}" + text + "{pop_margin}{eol}\n";
}

TEST(Markdown, LinesEndAtLineFeeds) {
    expectCompiled({
        {"", ""},
        {"a", line("a")},
        {"a\r\nb\r\n", line("a") + line("b")},
        {"a\n\nb", line("a") + "\n" + line("b")},
        {"a\n \nb", line("a") + "{half_tab}{optional_eop}\n" + line("b")},
        {"\xC3\xA9\xFF", line("\xC3\xA9\xFF")},
    });
}

TEST(Markdown, PairsOfSpacesIndent) {
    expectCompiled({
        {" a", "{half_tab}" + line("a")},
        {"     a", "{tab}{tab}{half_tab}" + line("a")},
        {"    ", "{tab}{tab}{optional_eop}\n"},
    });
}

TEST(Markdown, ListsHaveBulletsOrNumbers) {
    const std::string bullet = "{quarter_tab}{bullet}{tab}";
    expectCompiled({
        {"  - a", "{tab}" + bullet + line("a")},
        {"-  ", bullet + "{optional_eop}\n"},
        {"- ---", bullet + line("---")},
        {"- ", line("- ")},
        {"# ", line("# ")},
        {"# a\n# b", "1.{tab}" + line("a") + "2.{tab}" + line("b")},
        {"# a\nx\n- y\n# b", "1.{tab}" + line("a") + line("x") + bullet + line("y") + "2.{tab}" + line("b")},
        {"# a\n  # b\n   # c\n# d", "1.{tab}" + line("a") + "{tab}1.{tab}" + line("b") +
                                        "{tab}{half_tab}2.{tab}" + line("c") + "2.{tab}" + line("d")},
    });
}

TEST(Markdown, UnderlinesMakeHeadings) {
    const std::string upper = "{fontstyle:bold}{font:medium-large}{color:primary}";
    const std::string lower = "{fontstyle:bold}{color:complementary}";
    const std::string after = "{fontstyle:regular}{font:small-medium}{color:white}\n";
    const auto heading = [&](const std::string& begin, const std::string& text) {
        return begin + "{push_margin}" + text + "{pop_margin}{eol}" + after;
    };
    expectCompiled({
        {"a\n===", heading(upper, "a")},
        {"a\n---", heading(lower, "a")},
        {"a\n  ====", heading(upper, "a")},
        {"a\n==", line("a") + line("==")},
        {"===\na", line("a")},
        {"a\n===\n---", heading(lower, "a")},
        {"\n===", upper + after},
        {"- a\n---", lower + "{quarter_tab}{bullet}{tab}{push_margin}a{pop_margin}{eol}" + after},
    });
}

TEST(Markdown, AsterisksOpenAndCloseStyles) {
    const std::string bold = "{fontstyle:bold}", regular = "{fontstyle:regular}";
    const std::string complementary = bold + "{color:complementary}", primary = bold + "{color:primary}";
    const std::string main = regular + "{color:main}";
    expectCompiled({
        {"*a* b", line(bold + "a" + regular + " b")},
        {"**a**", line(complementary + "a" + main)},
        {"*****a*", line(primary + "a" + main)},
        {"*a***b", line(bold + "a" + regular + "b")},
        {"*a\nb", line(bold + "a" + regular) + line("b")},
        {"a*", line("a" + bold + regular)},
        {"***", line(primary + main)},
    });
}

TEST(Markdown, MarksInsideALine) {
    expectCompiled({
        {"a<<b", line("a{eol}b")},
        {"<<<", line("{eol}<")},
        {"[-|-]a", line("{align:center}a")},
        {"[--|]a", line("{align:right}a")},
        {"[---]", line("[---]")},
        {"\\*a\\\\\\<<", line("*a\\<<")},
        {"a\\", line("a")},
        {"{color:red}a{!", line("{color:red}a{!")},
    });
}

} // namespace
} // namespace qel
