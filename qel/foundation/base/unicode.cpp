#include <qel/foundation/base/unicode.h>

#include <qel/foundation/base/utf8_scan_p.h>

#include <algorithm>
#include <iterator>

namespace qel::util {
namespace {

/// The code points first, first + step, ..., which map to target, target + step, ...
struct CaseRun {
    uint32 first;
    uint32 target;
    uint32 count;
    uint32 step;
};

#include <qel/foundation/base/unicode_tables.inc>

template <std::size_t N>
uint32 mapCase(const CaseRun (&runs)[N], uint32 codePoint) {
    const auto behind = [](uint32 value, const CaseRun& run) { return value < run.first; };
    const CaseRun* run = std::upper_bound(std::begin(runs), std::end(runs), codePoint, behind);
    if (run == std::begin(runs)) return codePoint;
    --run;
    const uint32 offset = codePoint - run->first;
    if (offset % run->step != 0 || offset / run->step >= run->count) return codePoint;
    return run->target + offset;
}

} // namespace

uint32 unicode_from_cp1252(uint32 byte) {
    if (byte > 0xFF) return kNoCodePoint;
    return byte >= 0x80 && byte < 0xA0 ? kCp1252From80[byte - 0x80] : byte;
}

uint32 cp1252_from_unicode(uint32 codePoint) {
    if (codePoint < 0x80 || (codePoint >= 0xA0 && codePoint <= 0xFF)) return codePoint;
    if (codePoint == kNoCodePoint) return kNoCodePoint;
    const uint32* found = std::find(std::begin(kCp1252From80), std::end(kCp1252From80), codePoint);
    if (found == std::end(kCp1252From80)) return kNoCodePoint;
    return 0x80 + static_cast<uint32>(found - kCp1252From80);
}

uint32 unicode_tolower(uint32 codePoint) {
    if (codePoint < 0x80) return codePoint - 'A' < 26 ? codePoint + ('a' - 'A') : codePoint;
    return mapCase(kToLower, codePoint);
}

uint32 unicode_toupper(uint32 codePoint) {
    if (codePoint < 0x80) return codePoint - 'a' < 26 ? codePoint - ('a' - 'A') : codePoint;
    return mapCase(kToUpper, codePoint);
}

bool unicode_is_special_character(int32 codePoint) {
    if (codePoint < 0) return false;
    return codePoint <= 32 || (codePoint >= 127 && codePoint <= 160) || codePoint == 173;
}

bool unicode_is_western_european(uint32 codePoint) {
    return codePoint < 0x100 || cp1252_from_unicode(codePoint) != kNoCodePoint;
}

bool utf8_is_valid(std::string_view text) {
    return internal::scanUtf8(text.data(), text.size(), internal::NulRule::Character).bytes == text.size();
}

} // namespace qel::util
