#include <qel/store/core/item_order.h>

#include <qel/store/core/element_cursor_p.h>
#include <qel/store/core/item.h>

#include <array>
#include <bit>
#include <cmath>
#include <limits>

namespace qel::internal {
namespace {

/// The first byte of each element's form. They rank as the tags do; the end of a nested list comes first.
enum class Rank : uint8 {
    EndOfList = 0x00,
    RawBytes = 0x01, // what stands behind the last valid element
    Integer = 0x10,  // zero; one more or less for each byte of a positive or negative number
    Float = 0x20,
    String,
    Buffer,
    Pointer,
    SubItem,
    GUID,
    NIL,
    Prefix,
    False,
    True,
    Meta,
    Referee,
    End
};

/// Follows a zero byte inside of a payload. What follows a payload's end is a Rank, and smaller.
constexpr char kZeroInside = '\xFF';

/// Appends ordered forms to a string.
class OrderedWriter {
public:
    explicit OrderedWriter(std::string& out) : m_out(out) {}

    /// @return false at a Wildcard.
    bool list(ConstByteSpan bytes, int depth) {
        if (depth > Item::kMaxDepth) {
            rawBytes(bytes);
            return true;
        }
        ElementCursor element(bytes);
        for (; element; element.next()) {
            if (!this->element(element, depth)) return false;
        }
        rawBytes(element.rest());
        return true;
    }

private:
    void put(Rank rank) { m_out += static_cast<char>(rank); }

    /// The low @p count bytes of @p value, highest first.
    void number(uint64 value, int count) {
        for (int i = count - 1; i >= 0; --i) m_out += static_cast<char>(value >> (8 * i));
    }

    /// A negative number is the complement of its magnitude, so that the larger magnitude comes first.
    void integer(int64 value) {
        const auto bits = static_cast<uint64>(value);
        const uint64 magnitude = value < 0 ? 0 - bits : bits;
        const int count = (std::bit_width(magnitude) + 7) / 8;
        const int rank = static_cast<int>(Rank::Integer) + (value < 0 ? -count : count);
        m_out += static_cast<char>(rank);
        number(value < 0 ? ~magnitude : magnitude, count);
    }

    /// The bits of IEEE-754 numbers rank as integers once those of negative ones are complemented.
    void floating(double value) {
        if (std::isnan(value)) value = std::numeric_limits<double>::quiet_NaN();
        const auto bits = std::bit_cast<uint64>(value + 0.0); // +0 for both zeros
        constexpr uint64 kSign = uint64{1} << 63;
        put(Rank::Float);
        number((bits & kSign) != 0 ? ~bits : bits | kSign, 8);
    }

    void text(Rank rank, std::string_view bytes) {
        put(rank);
        m_out.append(bytes);
        m_out += '\0';
    }

    /// Bytes of any value: a zero inside is followed by kZeroInside, the last byte by a zero.
    void payload(Rank rank, ConstByteSpan bytes) {
        put(rank);
        for (std::string_view left = bytes.asText(); !left.empty();) {
            const size_t zero = std::min(left.find('\0'), left.size());
            m_out.append(left.substr(0, zero));
            if (zero == left.size()) break;
            m_out.append({'\0', kZeroInside});
            left.remove_prefix(zero + 1);
        }
        m_out += '\0';
    }

    void rawBytes(ConstByteSpan bytes) {
        if (!bytes.empty()) payload(Rank::RawBytes, bytes);
    }

    void guid(const uint8* bytes) {
        put(Rank::GUID);
        for (size_t i = GUID::kSize; i != 0; --i) m_out += static_cast<char>(bytes[i - 1]);
    }

    bool nested(ConstByteSpan bytes, int depth) {
        put(Rank::SubItem);
        if (!list(bytes, depth + 1)) return false;
        put(Rank::EndOfList);
        return true;
    }

    bool element(const ElementCursor& element, int depth) {
        switch (element.type()) {
        case ValueType::Float:
            floating(element.number());
            break;
        case ValueType::String:
            text(Rank::String, element.text());
            break;
        case ValueType::Prefix:
            text(Rank::Prefix, element.text());
            break;
        case ValueType::Buffer:
            payload(Rank::Buffer, element.payload());
            break;
        case ValueType::Pointer:
            payload(Rank::Pointer, element.payload());
            break;
        case ValueType::Referee:
            payload(Rank::Referee, element.payload());
            break;
        case ValueType::SubItem:
            return nested(element.payload(), depth);
        case ValueType::GUID:
            guid(element.guid());
            break;
        case ValueType::NIL:
            put(Rank::NIL);
            break;
        case ValueType::False:
            put(Rank::False);
            break;
        case ValueType::True:
            put(Rank::True);
            break;
        case ValueType::Meta:
            put(Rank::Meta);
            break;
        case ValueType::End:
            put(Rank::End);
            break;
        case ValueType::Wildcard:
            return false;
        default:
            integer(element.integer());
            break;
        }
        return true;
    }

    std::string& m_out;
};

} // namespace

bool appendOrderedBytes(const Item& key, std::string& out) {
    return appendOrderedBytes(key.getConstByteSpan(), out);
}

bool appendOrderedBytes(ConstByteSpan key, std::string& out) {
    return OrderedWriter(out).list(key, 0);
}

} // namespace qel::internal
