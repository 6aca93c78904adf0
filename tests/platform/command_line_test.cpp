#include <qel/platform/command_line.h>

#include <gtest/gtest.h>

using namespace qel::platform;

using Arguments = std::vector<std::string>;

TEST(CommandLine, IsSplitAtSpacesOutsideQuotes) {
    const std::pair<std::string, std::optional<Arguments>> cases[] = {
        {"  convert\ta.png  b.png\n", {{"convert", "a.png", "b.png"}}},
        {" \t\n", Arguments{}},
        {R"("a b" 'c d')", {{"a b", "c d"}}},
        {R"(a"b c"d'e f'g)", {{"ab cde fg"}}},
        {R"(a\ b \" \\)", {{"a b", "\"", "\\"}}},
        {R"("\"" "\\" "\$" "\`" "\n")", {{"\"", "\\", "$", "`", "\\n"}}},
        {R"('\' '"')", {{"\\", "\""}}},
        {"$(b) `c` $HOME ~ *;|>& # {1,2}", {{"$(b)", "`c`", "$HOME", "~", "*;|>&", "#", "{1,2}"}}},
        {"\"a", {}},
        {"a\\", {}},
        {std::string("a\0b", 3), {}}};
    for (const auto& [line, arguments] : cases) EXPECT_EQ(splitCommandLine(line), arguments) << line;
}

TEST(CommandLine, AQuotedArgumentIsReadBackUnchanged) {
    Arguments all{"", "-x", "a b", "it's", "\"", "\\", "$(touch x)", "`x`", "a\nb", "'", "''", "\\'"};
    for (int byte = 1; byte < 256; ++byte) all.push_back(std::string(1, static_cast<char>(byte)));
    std::string line;
    for (const std::string& argument : all) line += " " + quoteArgument(argument);
    EXPECT_EQ(splitCommandLine(line), all);
    EXPECT_EQ(quoteArgument("/usr/bin/tool-1.2_x"), "/usr/bin/tool-1.2_x");
}
