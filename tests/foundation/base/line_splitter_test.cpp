#include <qel/foundation/base/line_splitter.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <string_view>
#include <vector>

namespace qel {
namespace {

using Lines = std::vector<std::string>;

void append(LineSplitter& splitter, std::string_view text) {
    const ByteSpan room = splitter.room();
    ASSERT_GE(room.size, text.size());
    std::copy(text.begin(), text.end(), room.data);
    splitter.append(text.size());
}

/// The lines of a text that arrives in pieces of the given size; the rest after the last line end is one too.
Lines linesOf(std::string_view text, const LineSplitter::Rules& rules, size_t pieceSize) {
    LineSplitter splitter(rules);
    Lines lines;
    while (!text.empty()) {
        const std::string_view piece = text.substr(0, std::min(pieceSize, splitter.room().size));
        append(splitter, piece);
        std::string_view line;
        for (auto found = splitter.take(line); found != LineSplitter::Found::Nothing;
             found = splitter.take(line))
            lines.emplace_back(found == LineSplitter::Found::TooLong ? "(too long)" : line);
        text.remove_prefix(piece.size());
    }
    if (std::string_view rest; splitter.takeRest(rest)) lines.emplace_back(rest);
    EXPECT_TRUE(splitter.empty());
    return lines;
}

TEST(LineSplitter, EndsLinesByItsRule) {
    const struct {
        const char* text;
        LineEnd lineEnd;
        Lines expected;
    } cases[] = {
        {"", LineEnd::LineFeed, {}},
        {"\n", LineEnd::LineFeed, {""}},
        {"a\nb\n", LineEnd::LineFeed, {"a", "b"}},
        {"a\n\nb", LineEnd::LineFeed, {"a", "", "b"}},
        {"a\r\nb\rc", LineEnd::LineFeed, {"a\r", "b\rc"}},
        {"a\r\nb\rc\r", LineEnd::LineFeedAfterOptionalReturn, {"a", "b\rc"}},
        {"a\r\r\n\r", LineEnd::LineFeedAfterOptionalReturn, {"a\r", ""}},
        {"a\r\nb\rc", LineEnd::LineFeedOrReturn, {"a", "", "b", "c"}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::PrintToString(c.text));
        for (const size_t pieceSize : {1, 2, 100})
            EXPECT_EQ(linesOf(c.text, {.lineEnd = c.lineEnd, .longestLine = 100}, pieceSize), c.expected);
    }
}

TEST(LineSplitter, ReportsAndDropsLinesOverTheLimit) {
    const LineSplitter::Rules rules{.longestLine = 5, .firstCapacity = 4};
    const Lines expected{"12345", "(too long)", "a", "(too long)"};
    for (const size_t pieceSize : {1, 2, 3, 4})
        EXPECT_EQ(linesOf("12345\n123456\na\n1234567", rules, pieceSize), expected) << pieceSize;
}

TEST(LineSplitter, NeverKeepsMuchMoreThanTheLongestLine) {
    LineSplitter splitter({.longestLine = 100, .firstCapacity = 16, .keptCapacity = 32});
    std::string_view line;
    for (int i = 0; i < 1000; ++i) {
        const ByteSpan room = splitter.room();
        ASSERT_GT(room.size, 0u);
        std::fill_n(room.data, room.size, 'x');
        splitter.append(room.size);
        ASSERT_LE(splitter.size(), 116u);
        splitter.take(line);
    }
    append(splitter, "\n");
    EXPECT_FALSE(splitter.hasLine());
    EXPECT_EQ(splitter.room().size, 16u);
}

} // namespace
} // namespace qel
