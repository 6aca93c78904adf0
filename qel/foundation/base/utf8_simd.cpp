// Kernels of the UTF-8 operations. Validation is the table method of Keiser and Lemire, "Validating UTF-8 In
// Less Than One Instruction Per Byte", Software: Practice and Experience 51(5), 2021.
#include <qel/foundation/base/utf8_scan_p.h>

#include <cstring>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "qel/foundation/base/utf8_simd.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>
#include <qel/foundation/base/simd_dispatch_p.h>

HWY_BEFORE_NAMESPACE();
namespace qel::internal::HWY_NAMESPACE {
namespace {

namespace hn = hwy::HWY_NAMESPACE;

using Bytes = hn::CappedTag<uint8, kUtf8Block>;
using ByteVector = hn::Vec<Bytes>;
using SignedBytes = hn::RebindToSigned<Bytes>;

constexpr std::size_t kLanes = HWY_LANES(uint8) < kUtf8Block ? HWY_LANES(uint8) : kUtf8Block;
constexpr std::size_t kBefore = 3; // bytes before a block that its check reads

HWY_INLINE ByteVector loadBytes(const uint8* bytes) {
    return hn::LoadU(Bytes(), bytes);
}

HWY_INLINE auto asSigned(ByteVector bytes) {
    return hn::BitCast(SignedBytes(), bytes);
}

/// Returns true if all bytes are ASCII, and none is NUL if that ends the text.
template <NulRule kNul>
HWY_INLINE bool isPlain(ByteVector bytes) {
    const auto below = hn::Set(SignedBytes(), kNul == NulRule::End ? 0 : -1);
    return hn::AllTrue(SignedBytes(), hn::Gt(asSigned(bytes), below));
}

// Errors in a byte and the one before it, one bit each. Three tables are indexed by the two nibbles of the
// byte before and the upper nibble of the byte; a bit that is set in all three is an error.
constexpr uint8 kTooShort = 1 << 0;     // lead, then no continuation
constexpr uint8 kTooLong = 1 << 1;      // ASCII, then a continuation
constexpr uint8 kOverlong3 = 1 << 2;    // E0, then below A0
constexpr uint8 kTooLarge = 1 << 3;     // F4, then 90 or more; F5 and up
constexpr uint8 kSurrogate = 1 << 4;    // ED, then A0 or more
constexpr uint8 kOverlong2 = 1 << 5;    // C0 or C1
constexpr uint8 kTooLarge1000 = 1 << 6; // F5 and up, then 80 to 8F
constexpr uint8 kOverlong4 = 1 << 6;    // F0, then below 90
constexpr uint8 kTwoContinuations = 1 << 7;
constexpr uint8 kAnyLow = kTooShort | kTooLong | kTwoContinuations;
constexpr uint8 kAnyLarge = kAnyLow | kTooLarge | kTooLarge1000;

alignas(16) constexpr uint8 kFirstHigh[16] = {kTooLong,
                                              kTooLong,
                                              kTooLong,
                                              kTooLong,
                                              kTooLong,
                                              kTooLong,
                                              kTooLong,
                                              kTooLong,
                                              kTwoContinuations,
                                              kTwoContinuations,
                                              kTwoContinuations,
                                              kTwoContinuations,
                                              kTooShort | kOverlong2,
                                              kTooShort,
                                              kTooShort | kOverlong3 | kSurrogate,
                                              kTooShort | kTooLarge | kTooLarge1000 | kOverlong4};
alignas(16) constexpr uint8 kFirstLow[16] = {kAnyLow | kOverlong2 | kOverlong3 | kOverlong4,
                                             kAnyLow | kOverlong2,
                                             kAnyLow,
                                             kAnyLow,
                                             kAnyLow | kTooLarge,
                                             kAnyLarge,
                                             kAnyLarge,
                                             kAnyLarge,
                                             kAnyLarge,
                                             kAnyLarge,
                                             kAnyLarge,
                                             kAnyLarge,
                                             kAnyLarge,
                                             kAnyLarge | kSurrogate,
                                             kAnyLarge,
                                             kAnyLarge};
constexpr uint8 kContinuation = kTooLong | kOverlong2 | kTwoContinuations;
alignas(16) constexpr uint8 kSecondHigh[16] = {kTooShort,
                                               kTooShort,
                                               kTooShort,
                                               kTooShort,
                                               kTooShort,
                                               kTooShort,
                                               kTooShort,
                                               kTooShort,
                                               kContinuation | kOverlong3 | kTooLarge1000 | kOverlong4,
                                               kContinuation | kOverlong3 | kTooLarge,
                                               kContinuation | kSurrogate | kTooLarge,
                                               kContinuation | kSurrogate | kTooLarge,
                                               kTooShort,
                                               kTooShort,
                                               kTooShort,
                                               kTooShort};

HWY_INLINE ByteVector lookUp(const uint8* table, ByteVector index) {
    return hn::TableLookupBytes(hn::LoadDup128(Bytes(), table), index);
}

/// Returns a nonzero value for each byte that can't follow the three bytes before it.
HWY_INLINE ByteVector findErrors(const uint8* position) {
    const Bytes d;
    const ByteVector bytes = loadBytes(position);
    const ByteVector before1 = loadBytes(position - 1);
    const ByteVector pairs = hn::And(hn::And(lookUp(kFirstHigh, hn::ShiftRight<4>(before1)),
                                             lookUp(kFirstLow, hn::And(before1, hn::Set(d, 0x0F)))),
                                     lookUp(kSecondHigh, hn::ShiftRight<4>(bytes)));
    const ByteVector third = hn::SaturatedSub(loadBytes(position - 2), hn::Set(d, 0xE0 - 0x80));
    const ByteVector fourth = hn::SaturatedSub(loadBytes(position - 3), hn::Set(d, 0xF0 - 0x80));
    return hn::Xor(hn::And(hn::Or(third, fourth), hn::Set(d, 0x80)), pairs);
}

/// Returns the bytes of a block that begin a code point.
HWY_INLINE std::size_t countLeads(const uint8* block) {
    std::size_t count = 0;
    for (std::size_t i = 0; i < kUtf8Block; i += kLanes) {
        const auto isLead =
            hn::Gt(asSigned(loadBytes(block + i)), hn::Set(SignedBytes(), int8(0xBF - 0x100)));
        count += hn::CountTrue(SignedBytes(), isLead);
    }
    return count;
}

template <NulRule kNul>
HWY_INLINE bool isPlainBlock(const uint8* block) {
    bool plain = true;
    for (std::size_t i = 0; i < kUtf8Block; i += kLanes) plain = plain && isPlain<kNul>(loadBytes(block + i));
    return plain;
}

/// Returns true if a block is well-formed; sequences may begin in the three bytes before it and end after it.
template <NulRule kNul>
HWY_INLINE bool isGoodBlock(const uint8* block) {
    const Bytes d;
    ByteVector errors = hn::Zero(d);
    for (std::size_t i = 0; i < kUtf8Block; i += kLanes) {
        errors = hn::Or(errors, findErrors(block + i));
        if (kNul == NulRule::End)
            errors = hn::Or(errors, hn::VecFromMask(d, hn::Eq(loadBytes(block + i), hn::Zero(d))));
    }
    return hn::AllTrue(d, hn::Eq(errors, hn::Zero(d)));
}

/// Skips four vectors at a time while they are plain. @return the position after them.
template <NulRule kNul>
HWY_INLINE std::size_t skipPlain(const uint8* text, std::size_t position, std::size_t size) {
    for (; position + 4 * kLanes <= size; position += 4 * kLanes) {
        const auto v0 = asSigned(loadBytes(text + position));
        const auto v1 = asSigned(loadBytes(text + position + kLanes));
        const auto v2 = asSigned(loadBytes(text + position + 2 * kLanes));
        const auto v3 = asSigned(loadBytes(text + position + 3 * kLanes));
        const auto least = hn::Min(hn::Min(v0, v1), hn::Min(v2, v3));
        if (!isPlain<kNul>(hn::BitCast(Bytes(), least))) break;
    }
    return position;
}

/// Returns the run that ends at @p position, without a sequence that is not complete there.
Utf8Run cutIncomplete(const uint8* text, std::size_t position, std::size_t codePoints) {
    for (std::size_t back = 1; back <= kBefore && back <= position; ++back) {
        const uint8 byte = text[position - back];
        if ((byte & 0xC0) == 0x80) continue;
        const std::size_t length = utf8LengthOfLead(byte);
        const bool complete =
            length != 0 && length <= back; // 0: not a lead byte, which the next check reports
        return complete ? Utf8Run{position, codePoints} : Utf8Run{position - back, codePoints - 1};
    }
    return {position, codePoints};
}

/// A block of which only @p size bytes are text, together with the bytes before it, padded with ASCII.
struct EdgeBlock {
    EdgeBlock(const uint8* text, std::size_t position, std::size_t size) {
        std::memset(m_bytes, 'x', sizeof(m_bytes));
        const std::size_t before = position < kBefore ? position : kBefore;
        std::memcpy(m_bytes + kBefore - before, text + position - before, before + size);
    }
    const uint8* block() const { return m_bytes + kBefore; }

private:
    uint8 m_bytes[kBefore + kUtf8Block];
};

template <NulRule kNul>
Utf8Run scanBlocks(const uint8* text, std::size_t size) {
    std::size_t position = 0;
    std::size_t codePoints = 0;
    const EdgeBlock first(text, 0, kUtf8Block);
    const uint8* block = first.block();
    bool plainBefore = true;
    while (position + kUtf8Block <= size) {
        if (plainBefore) {
            const std::size_t stop = skipPlain<kNul>(text, position, size);
            codePoints += stop - position;
            if (stop != position) block = text + stop;
            position = stop;
            if (position + kUtf8Block > size) break;
        }
        plainBefore = isPlainBlock<kNul>(block);
        if (!isGoodBlock<kNul>(block)) return cutIncomplete(text, position, codePoints);
        codePoints += countLeads(block);
        position += kUtf8Block;
        block = text + position;
    }
    const std::size_t left = size - position;
    const EdgeBlock last(text, position, left);
    if (!isGoodBlock<kNul>(last.block())) return cutIncomplete(text, position, codePoints);
    return {size, codePoints + countLeads(last.block()) - (kUtf8Block - left)};
}

Utf8Run scanKernel(const char* text, std::size_t size, NulRule nulRule) {
    const uint8* bytes = reinterpret_cast<const uint8*>(text);
    return nulRule == NulRule::End ? scanBlocks<NulRule::End>(bytes, size)
                                   : scanBlocks<NulRule::Character>(bytes, size);
}

// --- Decoding --------------------------------------------------------------------------------------------

using Words = hn::CappedTag<int32, kUtf8Block / 4>;
using WordVector = hn::Vec<Words>;
using WordBytes = hn::Rebind<uint8, Words>;
constexpr std::size_t kWordLanes = kLanes / 4;

HWY_INLINE WordVector loadAsWords(const uint8* bytes) {
    return hn::PromoteTo(Words(), hn::LoadU(WordBytes(), bytes));
}

/// Appends six bits of a continuation byte to a code point, after clearing the mark of the lead byte.
HWY_INLINE WordVector addContinuation(WordVector codePoint, int32 keep, WordVector continuation) {
    const Words d;
    const WordVector kept = hn::ShiftLeft<6>(hn::And(codePoint, hn::Set(d, keep)));
    return hn::Or(kept, hn::And(continuation, hn::Set(d, 0x3F)));
}

#if HWY_TARGET == HWY_AVX2
/// The lanes that each mask of eight lanes selects, in order, as four bits each.
struct SelectedLanes {
    uint32 ofMask[256] = {};

    constexpr SelectedLanes() {
        for (uint32 mask = 0; mask < 256; ++mask)
            for (uint32 lane = 0, count = 0; lane < 8; ++lane)
                if (mask >> lane & 1) ofMask[mask] |= lane << (4 * count++);
    }
};
constexpr SelectedLanes kSelectedLanes;

/// Moves the selected lanes to the front. Highway's function does the same, but g++ copies its table of a
/// kilobyte to the stack for each call.
HWY_INLINE WordVector compressWords(WordVector words, hn::Mask<Words> selected) {
    const hn::RebindToUnsigned<Words> d32;
    uint8 mask[8];
    hn::StoreMaskBits(Words(), selected, mask);
    const auto packed = hn::Set(d32, kSelectedLanes.ofMask[mask[0]]);
    const auto lanes = hn::And(hn::Shr(packed, hn::ShiftLeft<2>(hn::Iota(d32, 0))), hn::Set(d32, 7));
    return hn::TableLookupLanes(words, hn::IndicesFromVec(Words(), lanes));
}
#else
HWY_INLINE WordVector compressWords(WordVector words, hn::Mask<Words> selected) {
    return hn::Compress(words, selected);
}
#endif

HWY_INLINE void storeWords(WordVector words, uint32* output) {
    const hn::RebindToUnsigned<Words> d32;
    hn::StoreU(hn::BitCast(d32, words), d32, output);
}

HWY_INLINE void storeWords(WordVector words, uint16* output) {
    const hn::Rebind<uint16, Words> d16;
    hn::StoreU(hn::DemoteTo(d16, words), d16, output);
}

/// Decodes the sequences whose lead byte is among the first kWordLanes bytes; reads three further bytes.
/// @return the number of sequences.
template <typename Unit>
HWY_INLINE std::size_t decodeStep(const uint8* bytes, Unit* output) {
    const Words d;
    const WordVector lead = loadAsWords(bytes);
    const WordVector two = addContinuation(lead, 0x1F, loadAsWords(bytes + 1));
    const WordVector three = addContinuation(two, 0x3FF, loadAsWords(bytes + 2));
    const WordVector four = addContinuation(three, 0x7FFF, loadAsWords(bytes + 3));
    WordVector codePoint = hn::IfThenElse(hn::Gt(lead, hn::Set(d, 0xBF)), two, lead);
    codePoint = hn::IfThenElse(hn::Gt(lead, hn::Set(d, 0xDF)), three, codePoint);
    codePoint = hn::IfThenElse(hn::Gt(lead, hn::Set(d, 0xEF)), four, codePoint);
    const auto isLead = hn::Ne(hn::And(lead, hn::Set(d, 0xC0)), hn::Set(d, 0x80));
    storeWords(compressWords(codePoint, isLead), output);
    return hn::CountTrue(d, isLead);
}

HWY_INLINE bool fitsUnits(const uint8*, const uint32*) {
    return true;
}

/// A block fits units of 16 bits if it holds no lead byte of a sequence of four.
HWY_INLINE bool fitsUnits(const uint8* block, const uint16*) {
    ByteVector most = hn::Zero(Bytes());
    for (std::size_t i = 0; i < kUtf8Block; i += kLanes) most = hn::Max(most, loadBytes(block + i));
    return hn::AllTrue(Bytes(), hn::Eq(hn::Min(most, hn::Set(Bytes(), 0xEF)), most));
}

std::size_t putUnits(uint32 codePoint, uint32* output) {
    *output = codePoint;
    return 1;
}

std::size_t putUnits(uint32 codePoint, uint16* output) {
    if (codePoint < 0x10000) {
        *output = static_cast<uint16>(codePoint);
        return 1;
    }
    output[0] = static_cast<uint16>(0xD7C0 + (codePoint >> 10));
    output[1] = static_cast<uint16>(0xDC00 | (codePoint & 0x3FF));
    return 2;
}

/// Decodes the sequences whose lead byte lies in [position, stop) one by one; they may extend up to @p end.
template <typename Unit>
std::size_t decodePlainly(const char* position, const char* stop, const char* end, Unit* output) {
    std::size_t count = 0;
    while (position < stop) {
        if (isUtf8Continuation(*position)) {
            ++position; // belongs to a sequence that has been written
            continue;
        }
        count += putUnits(decodeUtf8Strict(position, end), output + count);
    }
    return count;
}

/// Decodes a block; reads three further bytes. @return the units written, at most kUtf8Block.
template <typename Unit>
HWY_INLINE std::size_t decodeBlock(const uint8* block, Unit* output) {
    const bool plain = isPlainBlock<NulRule::Character>(block);
    std::size_t count = 0;
    for (std::size_t i = 0; i < kUtf8Block; i += kWordLanes) {
        if (plain) {
            storeWords(loadAsWords(block + i), output + i);
        } else {
            count += decodeStep(block + i, output + count);
        }
    }
    return plain ? kUtf8Block : count;
}

template <typename Unit>
std::size_t decodeRun(const char*& text, const char* end, Unit* output, std::size_t capacity) {
    std::size_t count = 0;
    while (end - text >= std::ptrdiff_t(kUtf8Block + kBefore) && count + kUtf8Block <= capacity) {
        const uint8* block = reinterpret_cast<const uint8*>(text);
        count += fitsUnits(block, output) ? decodeBlock(block, output + count)
                                          : decodePlainly(text, text + kUtf8Block, end, output + count);
        text += kUtf8Block;
    }
    while (text != end && count + kUtf8Block <= capacity) {
        const char* stop = end - text < std::ptrdiff_t(kUtf8Block) ? end : text + kUtf8Block;
        count += decodePlainly(text, stop, end, output + count);
        text = stop;
    }
    return count;
}

std::size_t decodeKernel32(const char*& text, const char* end, uint32* output, std::size_t capacity) {
    return decodeRun(text, end, output, capacity);
}

std::size_t decodeKernel16(const char*& text, const char* end, uint16* output, std::size_t capacity) {
    return decodeRun(text, end, output, capacity);
}

} // namespace
} // namespace qel::internal::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace qel::internal {

QEL_SIMD_TABLE(scanKernel);
QEL_SIMD_TABLE(decodeKernel32);
QEL_SIMD_TABLE(decodeKernel16);

Utf8Run scanUtf8Vectors(const char* text, std::size_t size, NulRule nulRule) {
    return g_scanKernel(text, size, nulRule);
}

std::size_t decodeUtf8Run(const char*& text, const char* end, uint32* output, std::size_t capacity) {
    return g_decodeKernel32(text, end, output, capacity);
}

std::size_t decodeUtf8Run(const char*& text, const char* end, uint16* output, std::size_t capacity) {
    return g_decodeKernel16(text, end, output, capacity);
}

} // namespace qel::internal
#endif
