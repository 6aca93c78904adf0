// Vector kernels of the base encodings. Base 64 follows W. Mula and D. Lemire, "Faster Base64 Encoding and
// Decoding Using AVX2 Instructions" (ACM Transactions on the Web 12(3), 2018).
#include <qel/foundation/base/base_encoding_p.h>

#include <cstring>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "qel/foundation/base/base_encoding_simd.cpp"
#include <hwy/foreach_target.h>

#include <hwy/highway.h>
#include <qel/foundation/base/simd_dispatch_p.h>

HWY_BEFORE_NAMESPACE();
namespace qel::internal::HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;

using Bytes = hn::ScalableTag<uint8_t>;
using SignedBytes = hn::RebindToSigned<Bytes>;
using Words = hn::Repartition<uint16_t, Bytes>;
using Groups = hn::Repartition<uint32_t, Bytes>;
using Vec = hn::Vec<Bytes>;

constexpr uint8_t kDrop = 0x80; // TableLookupBytesOr0 returns 0 for it

size_t EncodeBase16(uint8_t* HWY_RESTRICT out, const uint8_t* HWY_RESTRICT in, size_t n) {
    alignas(16) static constexpr uint8_t kDigits[] = {'0', '1', '2', '3', '4', '5', '6', '7',
                                                      '8', '9', 'A', 'B', 'C', 'D', 'E', 'F'};
    const Bytes d;
    const size_t step = hn::Lanes(d);
    const Vec digits = hn::LoadDup128(d, kDigits);
    const Vec nibble = hn::Set(d, 15);
    size_t i = 0;
    for (; n - i >= step; i += step) {
        const Vec bytes = hn::LoadU(d, in + i);
        const Vec high = hn::TableLookupBytes(digits, hn::ShiftRight<4>(bytes));
        const Vec low = hn::TableLookupBytes(digits, hn::And(bytes, nibble));
        hn::StoreInterleaved2(high, low, d, out + 2 * i);
        if (n - i < 2 * step && n - i != step) i = n - 2 * step; // the last block overlaps the one before
    }
    return i;
}

/// Returns the values of hexadecimal digits; sets bits in @p faults for other characters. The figures, the
/// letters (columns 4 and 6 of ASCII) and all other columns are one class each: see Base64Alphabet.
HWY_INLINE Vec Base16Values(Vec characters, Vec& faults) {
    alignas(16) static constexpr uint8_t kLowNibbleFaults[] = {6, 4, 4, 4, 4, 4, 4, 6,
                                                               6, 6, 7, 7, 7, 7, 7, 7};
    alignas(16) static constexpr uint8_t kClassOfHighNibble[] = {4, 4, 4, 1, 2, 4, 2, 4,
                                                                 4, 4, 4, 4, 4, 4, 4, 4};
    alignas(16) static constexpr uint8_t kOffsets[] = {0, 0, 0, 0, 9, 0, 9, 0, 0, 0, 0, 0, 0, 0, 0, 0};
    const Bytes d;
    const Vec high = hn::ShiftRight<4>(characters);
    const Vec low = hn::And(characters, hn::Set(d, 15));
    faults = hn::Or(faults, hn::And(hn::TableLookupBytes(hn::LoadDup128(d, kLowNibbleFaults), low),
                                    hn::TableLookupBytes(hn::LoadDup128(d, kClassOfHighNibble), high)));
    return hn::Add(low, hn::TableLookupBytes(hn::LoadDup128(d, kOffsets), high));
}

/// Combines each pair of digit values in the lower byte of the two.
HWY_INLINE Vec JoinPairs(Vec values) {
    const auto pairs = hn::BitCast(Words(), values);
    return hn::BitCast(Bytes(), hn::Or(hn::ShiftLeft<4>(pairs), hn::ShiftRight<8>(pairs)));
}

size_t DecodeBase16(uint8_t* HWY_RESTRICT out, const uint8_t* HWY_RESTRICT in, size_t n) {
    const Bytes d;
    const size_t lanes = hn::Lanes(d);
    size_t i = 0;
    for (; n - i >= 2 * lanes; i += 2 * lanes) {
        Vec faults = hn::Zero(d);
        const Vec first = JoinPairs(Base16Values(hn::LoadU(d, in + i), faults));
        const Vec second = JoinPairs(Base16Values(hn::LoadU(d, in + i + lanes), faults));
        if (!hn::AllTrue(d, hn::Eq(faults, hn::Zero(d)))) break;
        hn::StoreU(hn::ConcatEven(d, second, first), d, out + i / 2);
        if (n - i < 4 * lanes && n - i != 2 * lanes) i = n - 4 * lanes; // as when encoding
    }
    return i;
}

/// Returns table indices that pack three of every four groups, or unpack them if @p spread.
HWY_INLINE auto GroupOrder(bool spread) {
    const Groups d;
    HWY_ALIGN uint32_t order[HWY_MAX_BYTES / 4];
    const auto count = static_cast<uint32_t>(hn::Lanes(d));
    for (uint32_t i = 0; i < count; ++i) {
        const uint32_t from = spread ? i / 4 * 3 + i % 4 : i / 3 * 4 + i % 3;
        order[i] = from < count ? from : 0;
    }
    return hn::SetTableIndices(d, order);
}

/// Moves groups as @p order says; vectors of one 128-bit block have them in their places.
template <typename Order>
HWY_INLINE Vec MoveGroups(Vec bytes, Order order) {
    const Bytes d;
    if (hn::Lanes(d) == 16) return bytes;
    return hn::BitCast(d, hn::TableLookupLanes(hn::BitCast(Groups(), bytes), order));
}

/// Returns the 6-bit values of the 12 bytes at the beginning of each 128-bit block.
HWY_INLINE Vec SplitGroups(Vec bytes) {
    alignas(16) static constexpr uint8_t kBytesOfGroup[] = {1, 0, 2, 1, 4,  3, 5,  4,
                                                            7, 6, 8, 7, 10, 9, 11, 10};
    const Bytes d;
    const Words words;
    const Groups groups;
    const auto spread = hn::TableLookupBytes(bytes, hn::LoadDup128(d, kBytesOfGroup));
    // Two of the four values in a group are shifted down and two up, by multiplication, because the two
    // 16-bit halves need different distances.
    const auto down = hn::And(hn::BitCast(groups, spread), hn::Set(groups, 0x0FC0FC00));
    const auto up = hn::And(hn::BitCast(groups, spread), hn::Set(groups, 0x003F03F0));
    const auto downBy = hn::BitCast(words, hn::Set(groups, 0x04000040));
    const auto upBy = hn::BitCast(words, hn::Set(groups, 0x01000010));
    return hn::BitCast(
        d, hn::Or(hn::MulHigh(hn::BitCast(words, down), downBy), hn::Mul(hn::BitCast(words, up), upBy)));
}

size_t EncodeBase64(uint8_t* HWY_RESTRICT out, const uint8_t* HWY_RESTRICT in, size_t n,
                    const Base64Alphabet& alphabet) {
    const Bytes d;
    const size_t step = hn::Lanes(d) / 4 * 3;
    const auto order = GroupOrder(true);
    const Vec offsets = hn::LoadDup128(d, alphabet.digitOffsets.data());
    size_t i = 0;
    for (; n - i >= hn::Lanes(d); i += step, out += hn::Lanes(d)) {
        const Vec values = SplitGroups(MoveGroups(hn::LoadU(d, in + i), order));
        const Vec beyondLetters = hn::SaturatedSub(values, hn::Set(d, 51));
        const auto isUpper =
            hn::RebindMask(d, hn::Lt(hn::BitCast(SignedBytes(), values), hn::Set(SignedBytes(), 26)));
        const Vec kind = hn::IfThenElse(isUpper, hn::Set(d, 13), beyondLetters);
        hn::StoreU(hn::Add(values, hn::TableLookupBytes(offsets, kind)), d, out);
    }
    return i;
}

/// Returns the three bytes of every four 6-bit values, twelve at the beginning of each 128-bit block.
HWY_INLINE Vec JoinGroups(Vec values) {
    alignas(16) static constexpr uint8_t kBytesOfGroup[] = {2, 1,  0,  6,  5,     4,     10,    9,
                                                            8, 14, 13, 12, kDrop, kDrop, kDrop, kDrop};
    const Bytes d;
    const Words words;
    const Groups groups;
    const auto v = hn::BitCast(words, values);
    const auto pairs = hn::Or(hn::ShiftLeft<6>(hn::And(v, hn::Set(words, 0x3F))), hn::ShiftRight<8>(v));
    const auto p = hn::BitCast(groups, pairs);
    const auto joined = hn::Or(hn::ShiftLeft<12>(hn::And(p, hn::Set(groups, 0xFFF))), hn::ShiftRight<16>(p));
    return hn::TableLookupBytesOr0(hn::BitCast(d, joined), hn::LoadDup128(d, kBytesOfGroup));
}

/// Decodes one vector of digits at a time.
class Base64Decoder {
public:
    HWY_INLINE explicit Base64Decoder(const Base64Alphabet& alphabet)
        : m_lowNibbleFaults(hn::LoadDup128(Bytes(), alphabet.lowNibbleFaults.data())),
          m_classOfHighNibble(hn::LoadDup128(Bytes(), alphabet.classOfHighNibble.data())),
          m_offsets(hn::LoadDup128(Bytes(), alphabet.offsets.data())),
          m_lastDigit(hn::Set(Bytes(), alphabet.digits[63])) {}

    /// Stores the bytes of the digits at @p in, three quarters of a vector, at the beginning of @p bytes.
    /// @return false if a character is not a digit.
    HWY_INLINE bool Decode(const uint8_t* in, Vec& bytes) const {
        const Bytes d;
        const Vec characters = hn::LoadU(d, in);
        const Vec high = hn::ShiftRight<4>(characters);
        const Vec low = hn::And(characters, hn::Set(d, 15));
        const Vec faults = hn::And(hn::TableLookupBytes(m_lowNibbleFaults, low),
                                   hn::TableLookupBytes(m_classOfHighNibble, high));
        if (!hn::AllTrue(d, hn::Eq(faults, hn::Zero(d)))) return false;
        const auto isLast = hn::VecFromMask(d, hn::Eq(characters, m_lastDigit));
        const Vec slot = hn::Add(high, hn::And(isLast, hn::Set(d, 8)));
        bytes = JoinGroups(hn::Add(characters, hn::TableLookupBytes(m_offsets, slot)));
        return true;
    }

private:
    const Vec m_lowNibbleFaults;
    const Vec m_classOfHighNibble;
    const Vec m_offsets;
    const Vec m_lastDigit;
};

size_t DecodeBase64(uint8_t* HWY_RESTRICT out, const uint8_t* HWY_RESTRICT in, size_t n,
                    const Base64Alphabet& alphabet) {
    const Bytes d;
    const size_t step = hn::Lanes(d);
    const auto order = GroupOrder(false);
    const Base64Decoder decoder(alphabet);
    Vec bytes = hn::Zero(d);
    size_t i = 0;
    // A whole vector is stored for three quarters of one, as long as the output has room for it.
    for (; (n - i) / 4 * 3 >= step; i += step) {
        if (!decoder.Decode(in + i, bytes)) return i;
        hn::StoreU(MoveGroups(bytes, order), d, out + i / 4 * 3);
    }
    if (n - i < step || !decoder.Decode(in + i, bytes)) return i;
    HWY_ALIGN uint8_t last[HWY_MAX_BYTES];
    hn::Store(MoveGroups(bytes, order), d, last);
    std::memcpy(out + i / 4 * 3, last, step / 4 * 3);
    return i + step;
}

} // namespace qel::internal::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace qel::internal {

QEL_SIMD_TABLE(EncodeBase16);
QEL_SIMD_TABLE(DecodeBase16);
QEL_SIMD_TABLE(EncodeBase64);
QEL_SIMD_TABLE(DecodeBase64);

namespace {

/// Below this size the vectors of every processor are fast enough, and a choice would cost more than it
/// saves.
constexpr size_t kMinSizeForChoice = 64;

} // namespace

size_t encodeBase16Blocks(uint8* out, const uint8* in, size_t n) {
    if (n < kMinSizeForChoice) return HWY_STATIC_DISPATCH(EncodeBase16)(out, in, n);
    return g_EncodeBase16(out, in, n);
}

size_t decodeBase16Blocks(uint8* out, const uint8* in, size_t n) {
    if (n < kMinSizeForChoice) return HWY_STATIC_DISPATCH(DecodeBase16)(out, in, n);
    return g_DecodeBase16(out, in, n);
}

size_t encodeBase64Blocks(uint8* out, const uint8* in, size_t n, const Base64Alphabet& alphabet) {
    if (n < kMinSizeForChoice) return HWY_STATIC_DISPATCH(EncodeBase64)(out, in, n, alphabet);
    return g_EncodeBase64(out, in, n, alphabet);
}

size_t decodeBase64Blocks(uint8* out, const uint8* in, size_t n, const Base64Alphabet& alphabet) {
    if (n < kMinSizeForChoice) return HWY_STATIC_DISPATCH(DecodeBase64)(out, in, n, alphabet);
    return g_DecodeBase64(out, in, n, alphabet);
}

} // namespace qel::internal
#endif
