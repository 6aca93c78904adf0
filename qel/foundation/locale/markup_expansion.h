// What the readers of marked-up text share: finding codes, and how much the codes may insert.
#pragma once

#include <cstddef>
#include <string_view>

namespace qel::internal {

/// The number of codes in one text that other text replaces. Further codes insert nothing, which ends texts
/// that contain each other endlessly.
inline constexpr std::size_t kMaximumExpansions = std::size_t(1) << 20;
/// The number of bytes that String::applyTrOnlyControlCodes() inserts for codes.
inline constexpr std::size_t kMaximumTranslatedBytes = std::size_t(64) << 20;
/// The number of bytes that codes insert into the text of a TextActor, whose tokens take many times as much.
inline constexpr std::size_t kMaximumTokenizedBytes = std::size_t(4) << 20;

/// Where a code is located in a text, with its opening and its closing brace.
struct CodeRange {
    std::size_t begin = 0;
    std::size_t end = 0; ///< the position after the closing brace
};

/// Finds the first code at or after @p position: the shortest text from @p opening to a brace "}" in the same
/// line. A call reads each byte at most twice, and a walk over all codes of a text takes linear time.
/// @return false if there is no more code.
bool findCode(std::string_view text, std::string_view opening, std::size_t position, CodeRange& found);

} // namespace qel::internal
