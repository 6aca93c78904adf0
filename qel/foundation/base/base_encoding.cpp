#include <qel/foundation/base/base_encoding.h>

#include <qel/foundation/base/base_encoding_p.h>

#include <algorithm>
#include <cstring>
#include <limits>

namespace qel::util {

namespace {

using internal::Base64Alphabet;
using internal::kNoDigit;

/// Below this many characters the plain form is done before a vector form has been chosen.
constexpr size_t kMinCharactersForBlocks = 32;

constexpr Base64Alphabet kStandard('+', '/');
constexpr Base64Alphabet kUrlSafe('-', '_');

constexpr char kBase16Digits[] = "0123456789ABCDEF";

constexpr std::array<uint8, 256> makeBase16Values() {
    std::array<uint8, 256> values{};
    values.fill(kNoDigit);
    for (uint8 i = 0; i < 10; ++i) values[static_cast<size_t>('0') + i] = i;
    for (uint8 i = 0; i < 6; ++i) {
        values[static_cast<size_t>('A') + i] = static_cast<uint8>(10 + i);
        values[static_cast<size_t>('a') + i] = static_cast<uint8>(10 + i);
    }
    return values;
}
constexpr std::array<uint8, 256> kBase16Values = makeBase16Values();

/// The digits of one to three bytes, one more than there are bytes.
void encodeGroup(uint8* out, const uint8* in, size_t n, const Base64Alphabet& alphabet) {
    const unsigned bits =
        unsigned{in[0]} << 16 | (n > 1 ? unsigned{in[1]} << 8 : 0) | (n > 2 ? unsigned{in[2]} : 0);
    for (size_t i = 0; i <= n; ++i) out[i] = alphabet.digits[bits >> (18 - 6 * i) & 63];
}

/// The bytes of one to four digits, one less than there are digits.
bool decodeGroup(uint8* out, const uint8* in, size_t n, const Base64Alphabet& alphabet) {
    unsigned bits = 0;
    uint8 faults = 0;
    for (size_t i = 0; i < n; ++i) {
        const uint8 value = alphabet.values[in[i]];
        faults |= value;
        bits |= unsigned{value} << (18 - 6 * i);
    }
    for (size_t i = 0; i + 1 < n; ++i) out[i] = static_cast<uint8>(bits >> (16 - 8 * i));
    return (faults & 0xC0) == 0; // of all values only kNoDigit has these bits
}

void encode64(uint8* out, const uint8* in, size_t n, bool padding, const Base64Alphabet& alphabet) {
    size_t done = 0;
    if (n >= kMinCharactersForBlocks) done = internal::encodeBase64Blocks(out, in, n, alphabet);
    out += done / 3 * 4;
    for (; done < n; done += 3) {
        const size_t groupSize = std::min<size_t>(n - done, 3);
        encodeGroup(out, in + done, groupSize, alphabet);
        out += groupSize + 1;
    }
    if (padding && n % 3 != 0) std::memset(out, '=', 3 - n % 3);
}

/// Where the digits end: at the first "=", which only more of them may follow.
bool findDigitsEnd(const uint8* in, size_t& n) {
    if (n == 0) return true;
    const auto* padding = static_cast<const uint8*>(std::memchr(in, '=', n));
    if (!padding) return true;
    const uint8* end = in + n;
    n = static_cast<size_t>(padding - in);
    return std::all_of(padding, end, [](uint8 c) { return c == '='; });
}

bool decode64(uint8* out, const uint8* in, size_t n, const Base64Alphabet& alphabet) {
    if (!findDigitsEnd(in, n)) return false;
    size_t done = 0;
    if (n >= kMinCharactersForBlocks) done = internal::decodeBase64Blocks(out, in, n, alphabet);
    out += done / 4 * 3;
    for (; done < n; done += 4) {
        const size_t groupSize = std::min<size_t>(n - done, 4);
        if (!decodeGroup(out, in + done, groupSize, alphabet)) return false;
        out += 3;
    }
    return true;
}

} // namespace

void encodeBase16(uint8* out, const uint8* in, size_t n) {
    size_t i = 0;
    if (n >= kMinCharactersForBlocks / 2) i = internal::encodeBase16Blocks(out, in, n);
    for (; i < n; ++i) {
        out[2 * i] = static_cast<uint8>(kBase16Digits[in[i] >> 4]);
        out[2 * i + 1] = static_cast<uint8>(kBase16Digits[in[i] & 15]);
    }
}

bool decodeBase16(uint8* out, const uint8* in, size_t n) {
    // The second test catches what was a negative number at the caller's.
    if (n % 2 != 0 || n > std::numeric_limits<size_t>::max() / 2) return false;
    size_t i = 0;
    if (n >= kMinCharactersForBlocks) i = internal::decodeBase16Blocks(out, in, n);
    for (; i < n; i += 2) {
        const uint8 high = kBase16Values[in[i]];
        const uint8 low = kBase16Values[in[i + 1]];
        if ((high | low) == kNoDigit) return false;
        out[i / 2] = static_cast<uint8>(high << 4 | low);
    }
    return true;
}

void encodeBase64(uint8* out, const uint8* in, size_t n, bool padding) {
    encode64(out, in, n, padding, kStandard);
}

bool decodeBase64(uint8* out, const uint8* in, size_t n) {
    return decode64(out, in, n, kStandard);
}

void encodeBase64url(uint8* out, const uint8* in, size_t n, bool padding) {
    encode64(out, in, n, padding, kUrlSafe);
}

bool decodeBase64url(uint8* out, const uint8* in, size_t n) {
    return decode64(out, in, n, kUrlSafe);
}

} // namespace qel::util
