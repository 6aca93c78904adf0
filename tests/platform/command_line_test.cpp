#include <qel/platform/command_line.h>

#include <gtest/gtest.h>

namespace qel::platform {
namespace {

using Arguments = std::vector<std::string>;

TEST(CommandLine, BlanksSeparateArguments) {
    EXPECT_EQ(splitCommandLine("  convert\ta.png  b.png\n"), (Arguments{"convert", "a.png", "b.png"}));
    EXPECT_EQ(splitCommandLine(""), Arguments());
    EXPECT_EQ(splitCommandLine(" \t\n"), Arguments());
}

TEST(CommandLine, QuotesKeepBlanksTogether) {
    EXPECT_EQ(splitCommandLine(R"("a b" 'c d')"), (Arguments{"a b", "c d"}));
    EXPECT_EQ(splitCommandLine(R"(a"b c"d'e f'g)"), (Arguments{"ab cde fg"}));
    EXPECT_EQ(splitCommandLine(R"("" '')"), (Arguments{"", ""}));
}

TEST(CommandLine, BackslashProtectsByTheRulesOfItsPlace) {
    EXPECT_EQ(splitCommandLine(R"(a\ b \" \\)"), (Arguments{"a b", "\"", "\\"}));
    EXPECT_EQ(splitCommandLine(R"("\"" "\\" "\$" "\`" "\n")"), (Arguments{"\"", "\\", "$", "`", "\\n"}));
    EXPECT_EQ(splitCommandLine(R"('\' '"')"), (Arguments{"\\", "\""}));
}

TEST(CommandLine, NothingIsExpanded) {
    EXPECT_EQ(
        splitCommandLine("a $(b) `c` $HOME ~ * ; d | e > f & # {1,2}"),
        (Arguments{"a", "$(b)", "`c`", "$HOME", "~", "*", ";", "d", "|", "e", ">", "f", "&", "#", "{1,2}"}));
}

TEST(CommandLine, UnfinishedLinesAreRefused) {
    for (const std::string line : {"\"a", "'a", "a\\", "\"a\\\"", "\"a\\"}) {
        EXPECT_EQ(splitCommandLine(line), std::nullopt) << line;
    }
    EXPECT_EQ(splitCommandLine(std::string("a\0b", 3)), std::nullopt);
}

TEST(CommandLine, AQuotedArgumentComesBackUnchangedWhateverItsBytes) {
    Arguments all{"", "-x", "a b", "it's", "\"", "\\", "$(touch x)", "`x`", "a\nb", "'", "''", "\\'"};
    for (int byte = 1; byte < 256; ++byte) all.push_back(std::string(1, static_cast<char>(byte)));
    std::string line;
    for (const std::string& argument : all) line += " " + quoteArgument(argument);
    EXPECT_EQ(splitCommandLine(line), all);
}

TEST(CommandLine, PlainWordsStayAsTheyAre) {
    EXPECT_EQ(quoteArgument("/usr/bin/tool-1.2_x"), "/usr/bin/tool-1.2_x");
    EXPECT_EQ(quoteArgument("a b"), "'a b'");
}

} // namespace
} // namespace qel::platform
