// SegmentCache: the glyphs of short segments, which some texts repeat for every other character.
#pragma once

#include <qel/shaping/segment_p.h>
#include <qel/text/fonts/shaping.h>

#include <array>
#include <optional>
#include <unordered_map>

namespace qel::internal {

/// What the glyphs of a short segment depend on.
class SegmentKey {
public:
    /// Describes a segment of @p run. @return no key if the segment is not short.
    static std::optional<SegmentKey> of(const ShapingRun& run, const Segment& segment);

    bool operator==(const SegmentKey&) const = default;
    struct Hash {
        std::size_t operator()(const SegmentKey& key) const;
    };

private:
    static constexpr std::size_t kMaxCount = 4;
    static constexpr std::size_t kMaxContext = 5; ///< characters on each side that HarfBuzz looks at

    /// A number for face and direction, one for the lengths, and the characters with those around them.
    std::array<uint32, 2 + kMaxCount + 2 * kMaxContext> m_words{};
};

/// Keeps answers for short segments, as calling HarfBuzz for a few characters takes longer than for many.
class SegmentCache {
public:
    /// Forgets all answers.
    void clear() { m_answers.clear(); }
    /// Appends the glyphs of @p segment to @p answer, and sets its advances.
    /// @return false if they are unknown.
    bool find(const SegmentKey& key, const Segment& segment, ShapedRun& answer) const;
    /// Keeps what @p answer has for @p segment, whose glyphs are the last ones, from @p firstGlyph on.
    void keep(const SegmentKey& key, const Segment& segment, const ShapedRun& answer, std::size_t firstGlyph);

private:
    static constexpr std::size_t kMaxAnswers = 4096; // a text of random characters must not fill the memory

    std::unordered_map<SegmentKey, ShapedRun, SegmentKey::Hash> m_answers; ///< numbers begin at the segment
};

} // namespace qel::internal
