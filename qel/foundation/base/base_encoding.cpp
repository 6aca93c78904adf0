#include <qel/foundation/base/base_encoding.h>

#include <qel/foundation/base/base_encoding_p.h>

#include <cstring>
#include <limits>

namespace qel::util {

namespace {

using internal::Base64Alphabet;
using internal::kNoDigit;

/// The smallest block of the vector forms: characters of base 64, bytes for base 16.
constexpr size_t kMinBlock = 16;

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

/// Encodes one to three bytes as digits, one more than there are bytes.
inline void encodeGroup(uint8* out, const uint8* in, size_t n, const Base64Alphabet& alphabet) {
    const unsigned bits =
        unsigned{in[0]} << 16 | (n > 1 ? unsigned{in[1]} << 8 : 0) | (n > 2 ? unsigned{in[2]} : 0);
    out[0] = alphabet.digits[bits >> 18];
    out[1] = alphabet.digits[bits >> 12 & 63];
    if (n > 1) out[2] = alphabet.digits[bits >> 6 & 63];
    if (n > 2) out[3] = alphabet.digits[bits & 63];
}

/// Decodes one to four digits to bytes, one fewer than there are digits.
inline bool decodeGroup(uint8* out, const uint8* in, size_t n, const Base64Alphabet& alphabet) {
    const auto valueAt = [&](size_t i) -> unsigned { return i < n ? alphabet.values[in[i]] : 0; };
    const unsigned values[] = {valueAt(0), valueAt(1), valueAt(2), valueAt(3)};
    const unsigned bits = values[0] << 18 | values[1] << 12 | values[2] << 6 | values[3];
    if (n > 1) out[0] = static_cast<uint8>(bits >> 16);
    if (n > 2) out[1] = static_cast<uint8>(bits >> 8);
    if (n > 3) out[2] = static_cast<uint8>(bits);
    return ((values[0] | values[1] | values[2] | values[3]) & 0xC0) == 0; // bits that only kNoDigit has
}

void encode64(uint8* out, const uint8* in, size_t n, bool padding, const Base64Alphabet& alphabet) {
    size_t done = 0;
    if (n >= kMinBlock) done = internal::encodeBase64Blocks(out, in, n, alphabet);
    out += done / 3 * 4;
    for (; n - done >= 3; done += 3, out += 4) encodeGroup(out, in + done, 3, alphabet);
    if (done == n) return;
    encodeGroup(out, in + done, n - done, alphabet);
    out += n - done + 1;
    if (padding) std::memset(out, '=', 3 - n % 3);
}

/// Returns the number of characters before the padding. A "=" before that is not a digit and makes decoding
/// fail.
size_t countDigits(const uint8* in, size_t n) {
    while (n != 0 && in[n - 1] == '=') --n;
    return n;
}

bool decode64(uint8* out, const uint8* in, size_t n, const Base64Alphabet& alphabet) {
    n = countDigits(in, n);
    size_t done = 0;
    if (n >= kMinBlock) done = internal::decodeBase64Blocks(out, in, n, alphabet);
    out += done / 4 * 3;
    for (; n - done >= 4; done += 4, out += 3) {
        if (!decodeGroup(out, in + done, 4, alphabet)) return false;
    }
    return done == n || decodeGroup(out, in + done, n - done, alphabet);
}

} // namespace

void encodeBase16(uint8* out, const uint8* in, size_t n) {
    size_t i = 0;
    if (n >= kMinBlock) i = internal::encodeBase16Blocks(out, in, n);
    for (; i < n; ++i) {
        out[2 * i] = static_cast<uint8>(kBase16Digits[in[i] >> 4]);
        out[2 * i + 1] = static_cast<uint8>(kBase16Digits[in[i] & 15]);
    }
}

bool decodeBase16(uint8* out, const uint8* in, size_t n) {
    // The second test catches a size that the caller computed as a negative number.
    if (n % 2 != 0 || n > std::numeric_limits<size_t>::max() / 2) return false;
    size_t i = 0;
    if (n >= 2 * kMinBlock) i = internal::decodeBase16Blocks(out, in, n);
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
