#include <qel/shaping/segment_cache_p.h>

#include <algorithm>

namespace qel::internal {

// Only letters that touch each other depend on the characters around the segment.
std::optional<SegmentKey> SegmentKey::of(const ShapingRun& run, const Segment& segment) {
    if (segment.count > kMaxCount) return {};
    const bool isAlone = hasSeparateLetters(segment.script);
    const std::size_t end = segment.first + segment.count;
    const std::size_t before = isAlone ? 0 : std::min(segment.first, kMaxContext);
    const std::size_t after = isAlone ? 0 : std::min(run.codePoints.size() - end, kMaxContext);
    SegmentKey key;
    key.m_words[0] = segment.face * 2 + (run.isRightToLeft ? 1 : 0);
    key.m_words[1] = static_cast<uint32>(before << 16 | segment.count << 8 | after);
    const std::span<const uint32> text = run.codePoints.subspan(segment.first - before);
    std::copy_n(text.begin(), before + segment.count + after, key.m_words.begin() + 2);
    return key;
}

/// FNV-1a over the words.
std::size_t SegmentKey::Hash::operator()(const SegmentKey& key) const {
    uint64 hash = 0xCBF29CE484222325;
    for (const uint32 word : key.m_words) hash = (hash ^ word) * 0x100000001B3;
    return static_cast<std::size_t>(hash ^ hash >> 32);
}

bool SegmentCache::find(const SegmentKey& key, const Segment& segment, ShapedRun& answer) const {
    const auto found = m_answers.find(key);
    if (found == m_answers.end()) return false;
    const ShapedRun& known = found->second;
    std::copy(known.advances.begin(), known.advances.end(),
              answer.advances.begin() + static_cast<std::ptrdiff_t>(segment.first));
    for (ShapedGlyph glyph : known.glyphs) {
        glyph.character += static_cast<uint32>(segment.first);
        answer.glyphs.push_back(glyph);
    }
    return true;
}

void SegmentCache::keep(const SegmentKey& key, const Segment& segment, const ShapedRun& answer,
                        std::size_t firstGlyph) {
    if (m_answers.size() >= kMaxAnswers) m_answers.clear();
    ShapedRun& kept = m_answers[key];
    const auto advances = answer.advances.begin() + static_cast<std::ptrdiff_t>(segment.first);
    kept.advances.assign(advances, advances + static_cast<std::ptrdiff_t>(segment.count));
    kept.glyphs.assign(answer.glyphs.begin() + static_cast<std::ptrdiff_t>(firstGlyph), answer.glyphs.end());
    for (ShapedGlyph& glyph : kept.glyphs) glyph.character -= static_cast<uint32>(segment.first);
}

} // namespace qel::internal
