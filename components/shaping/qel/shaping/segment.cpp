#include <qel/shaping/segment_p.h>

namespace qel::internal {

namespace {

constexpr std::size_t kMaxCount = 128;
constexpr std::size_t kLongCount = kMaxCount / 2;

bool isMark(uint32 codePoint) {
    switch (hb_unicode_general_category(hb_unicode_funcs_get_default(), codePoint)) {
    case HB_UNICODE_GENERAL_CATEGORY_NON_SPACING_MARK:
    case HB_UNICODE_GENERAL_CATEGORY_SPACING_MARK:
    case HB_UNICODE_GENERAL_CATEGORY_ENCLOSING_MARK:
        return true;
    default:
        return false;
    }
}

/// Returns true for joiners and other characters that control their neighbours and show nothing themselves.
bool isControl(uint32 codePoint) {
    const bool isVariationSelector = codePoint >= 0xFE00 && codePoint <= 0xFE0F;
    return isVariationSelector || hb_unicode_general_category(hb_unicode_funcs_get_default(), codePoint) ==
                                      HB_UNICODE_GENERAL_CATEGORY_FORMAT;
}

bool isNeutral(hb_script_t script) {
    return script == HB_SCRIPT_COMMON || script == HB_SCRIPT_INHERITED || script == HB_SCRIPT_UNKNOWN;
}

hb_script_t scriptOf(uint32 codePoint) {
    return hb_unicode_script(hb_unicode_funcs_get_default(), codePoint);
}

} // namespace

bool hasSeparateLetters(hb_script_t script) {
    switch (script) {
    case HB_SCRIPT_LATIN:
    case HB_SCRIPT_GREEK:
    case HB_SCRIPT_CYRILLIC:
    case HB_SCRIPT_HEBREW:
    case HB_SCRIPT_ARMENIAN:
    case HB_SCRIPT_GEORGIAN:
    case HB_SCRIPT_HAN:
    case HB_SCRIPT_HIRAGANA:
    case HB_SCRIPT_KATAKANA:
    case HB_SCRIPT_HANGUL:
        return true;
    default:
        return isNeutral(script);
    }
}

uint32 SegmentReader::firstFaceWith(uint32 codePoint) const {
    uint32 face = 0;
    while (face < m_faceCount && !m_hasGlyph(face, codePoint)) ++face;
    return face;
}

/// Returns true if a character belongs to the segment in front of it.
bool SegmentReader::takes(Segment& segment, uint32 codePoint) const {
    const bool isShaped = segment.face < m_faceCount;
    if (isShaped && isControl(codePoint)) return true;
    const bool staysForMark = isShaped && isMark(codePoint) && m_hasGlyph(segment.face, codePoint);
    if (!staysForMark && firstFaceWith(codePoint) != segment.face) return false;
    const hb_script_t script = scriptOf(codePoint);
    if (isNeutral(script)) return true;
    if (isNeutral(segment.script)) segment.script = script;
    return script == segment.script;
}

bool SegmentReader::read(Segment& segment) {
    if (m_next >= m_text.size()) return false;
    const uint32 first = m_text[m_next];
    segment = {m_next, 1, isControl(first) ? 0 : firstFaceWith(first), scriptOf(first)};
    for (++m_next; m_next < m_text.size() && segment.count < kMaxCount; ++m_next, ++segment.count) {
        if (segment.count >= kLongCount && m_text[m_next - 1] == ' ') break;
        if (!takes(segment, m_text[m_next])) break;
    }
    return true;
}

} // namespace qel::internal
