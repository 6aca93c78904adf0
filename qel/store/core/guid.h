// GUID: a 256-bit identifier.
#pragma once

#include <qel/foundation/base/class_name.h>
#include <qel/foundation/base/smart_cstr.h>
#include <qel/foundation/base/string.h>
#include <qel/foundation/base/types.h>
#include <qel/platform/api.h>

#include <algorithm>
#include <array>
#include <bit>
#include <compare>
#include <cstring>
#include <functional>
#include <iosfwd>

namespace qelSq {
class Object;
}

namespace qel {

/// An identifier of 32 bytes, interpreted as a 256-bit little-endian number. If all bytes are zero there is
/// no identifier. The low bits may identify the issuer; the others are random.
/// @threads a value: one thread at a time.
class QEL_API GUID {
    QEL_VALUE_CLASS(GUID)

public:
    /// The number of bytes.
    static constexpr size_t kSize = 32;
    /// The number of digits in the text form.
    static constexpr size_t kTextSize = 2 * kSize;
    /// The prefix that distinguishes the text form from other texts, as in JSON.
    static constexpr const char* kTextPrefix = "GUID:::";

    /// Creates the zero identifier.
    constexpr GUID() = default;
    /// Copies the kSize bytes at @p p, which need no alignment.
    static GUID fromBytes(const uint8* p) {
        GUID guid;
        std::memcpy(guid.bytes.data(), p, kSize);
        return guid;
    }
    /// Parses the text form; digits of either case are accepted.
    /// @return the zero identifier for anything except kTextSize hexadecimal digits.
    static GUID fromString(SmartCStr text);

    /// Returns 64 upper-case hexadecimal digits: the bytes in memory order.
    String toString() const;
    /// Returns a nickname for logs and displays; "god" for the zero identifier. Different identifiers may
    /// have the same one.
    String getFantasyName() const;

    /// Returns true for the zero identifier.
    bool isNull() const { return *this == GUID(); }
    /// Returns true for any identifier except the zero identifier.
    explicit operator bool() const { return !isNull(); }

    /// Registers GUID as a script class. Defined in script/guid_binding.cpp.
    static void bindSqVM(qelSq::Object* cls);

    /// Compares the bytes.
    friend bool operator==(const GUID& a, const GUID& b) {
        return std::memcmp(a.bytes.data(), b.bytes.data(), kSize) == 0;
    }
    /// Compares the 256-bit numbers.
    friend std::strong_ordering operator<=>(const GUID& a, const GUID& b) {
        return std::lexicographical_compare_three_way(a.bytes.rbegin(), a.bytes.rend(), b.bytes.rbegin(),
                                                      b.bytes.rend());
    }
    /// Writes toString().
    friend QEL_API std::ostream& operator<<(std::ostream& out, const GUID& guid);
    /// Reads exactly kTextSize characters, without skipping spaces.
    /// @errors if there are fewer, or they are not hexadecimal digits, the stream fails and @p guid is zero.
    friend QEL_API std::istream& operator>>(std::istream& in, GUID& guid);

    /// The bytes of the number, lowest first.
    std::array<uint8, kSize> bytes{};
};

} // namespace qel

/// Hashes a GUID for the unordered containers.
template <>
struct std::hash<qel::GUID> {
    std::size_t operator()(const qel::GUID& guid) const noexcept {
        const auto words = std::bit_cast<std::array<qel::uint64, 4>>(guid.bytes);
        return words[3] ^ words[2] * 3 ^ words[1] * 5 ^ words[0] * 7;
    }
};
