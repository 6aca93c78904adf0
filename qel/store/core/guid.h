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

/// A plain identifier of 32 bytes, read as one 256-bit little-endian number. All zero bytes mean that there
/// is no identifier. Its low bits may tell who issued it; the others are random.
/// @threads a value: one thread at a time.
class QEL_API GUID {
    QEL_VALUE_CLASS(GUID)

public:
    /// Number of bytes.
    static constexpr size_t kSize = 32;
    /// Number of digits of the text form.
    static constexpr size_t kTextSize = 2 * kSize;
    /// What stands before the text form where other texts may stand too, as in JSON.
    static constexpr const char* kTextPrefix = "GUID:::";

    /// No identifier.
    constexpr GUID() = default;
    /// Copies the kSize bytes at @p p, which need no alignment.
    static GUID fromBytes(const uint8* p) {
        GUID guid;
        std::memcpy(guid.bytes.data(), p, kSize);
        return guid;
    }
    /// Reads the text form; digits of either case.
    /// @return the zero identifier for anything but kTextSize hexadecimal digits.
    static GUID fromString(SmartCStr text);

    /// 64 upper-case hexadecimal digits: the bytes in the order of memory.
    String toString() const;
    /// A nickname for logs and screens, "god" for the zero identifier. Different identifiers may share one.
    String getFantasyName() const;

    /// True for the zero identifier.
    bool isNull() const { return *this == GUID(); }
    /// True for anything but the zero identifier.
    explicit operator bool() const { return !isNull(); }

    /// Makes GUID a class of scripts. Defined in script/guid_binding.cpp.
    static void bindSqVM(qelSq::Object* cls);

    /// Same bytes.
    friend bool operator==(const GUID& a, const GUID& b) {
        return std::memcmp(a.bytes.data(), b.bytes.data(), kSize) == 0;
    }
    /// Order of the 256-bit numbers.
    friend std::strong_ordering operator<=>(const GUID& a, const GUID& b) {
        return std::lexicographical_compare_three_way(a.bytes.rbegin(), a.bytes.rend(), b.bytes.rbegin(),
                                                      b.bytes.rend());
    }
    /// Writes toString().
    friend QEL_API std::ostream& operator<<(std::ostream& out, const GUID& guid);
    /// Reads exactly kTextSize characters, without skipping blanks.
    /// @errors when they are no hexadecimal digits, or fewer, the stream has failed and @p guid is zero.
    friend QEL_API std::istream& operator>>(std::istream& in, GUID& guid);

    /// The number, lowest byte first.
    std::array<uint8, kSize> bytes{};
};

} // namespace qel

/// Makes GUID a key of the unordered containers.
template <>
struct std::hash<qel::GUID> {
    std::size_t operator()(const qel::GUID& guid) const noexcept {
        const auto words = std::bit_cast<std::array<qel::uint64, 4>>(guid.bytes);
        return words[3] ^ words[2] * 3 ^ words[1] * 5 ^ words[0] * 7;
    }
};
