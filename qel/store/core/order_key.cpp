#include <qel/store/core/order_key.h>

#include <bit>
#include <cmath>
#include <vector>

namespace qel::internal {
namespace {

/// Returns the largest form of a key of @p size bytes: a sized payload of zeros doubles its size.
constexpr size_t largestForm(size_t size) {
    return 2 * size + 8;
}

uint64 orderBits(double number) {
    if (std::isnan(number)) return ~uint64{0};
    if (number == 0) return uint64{1} << 63; // both zeros are equal
    const auto bits = std::bit_cast<uint64>(number);
    return bits >> 63 ? ~bits : bits | uint64{1} << 63;
}

} // namespace

/// Writes the elements to a buffer that is large enough for the largest form.
class OrderKey::Writer {
public:
    Writer(ConstByteSpan list, char* out) : m_at(list.data), m_end(list.data + list.size), m_out(out) {}

    void writeAll() {
        for (;;) {
            const bool isTooDeep = m_outerEnds.size() > static_cast<size_t>(Item::kMaxDepth);
            const size_t size = isTooDeep ? 0 : getElementSize(m_at, rest());
            if (size != 0) {
                writeElement(size);
            } else if (!m_outerEnds.empty()) {
                endNestedList();
            } else {
                break;
            }
        }
        if (rest() == 0) return;
        put(0);
        putBytes(m_at, rest());
    }

    char* end() const { return m_out; }
    /// Returns the position of the first Wildcard or NaN; null if the form has neither.
    char* question() const { return m_question; }

private:
    size_t rest() const { return static_cast<size_t>(m_end - m_at); }
    void put(unsigned byte) { *m_out++ = static_cast<char>(byte); }
    void putBytes(const uint8* bytes, size_t size) {
        std::memcpy(m_out, bytes, size);
        m_out += size;
    }

    void writeElement(size_t size) {
        const uint8* const payload = m_at + 1;
        switch (static_cast<ValueType>(*m_at)) {
        case ValueType::Integer8:
            putInteger(loadElementValue<int8>(payload));
            break;
        case ValueType::Integer16:
            putInteger(loadElementValue<int16>(payload));
            break;
        case ValueType::Integer32:
            putInteger(loadElementValue<int32>(payload));
            break;
        case ValueType::Integer64:
            putInteger(loadElementValue<int64>(payload));
            break;
        case ValueType::Float:
            putFloat(loadElementValue<double>(payload));
            break;
        case ValueType::GUID:
            put(*m_at);
            for (size_t i = size - 1; i != 0; --i) put(m_at[i]);
            break;
        case ValueType::SubItem:
            return beginNestedList(size);
        case ValueType::Buffer:
        case ValueType::Pointer:
        case ValueType::Referee:
            put(*m_at);
            putSized(m_at + 5, size - 5);
            break;
        case ValueType::Wildcard:
            markQuestion();
            [[fallthrough]];
        default:
            putBytes(m_at, size); // texts and tags without payload
        }
        m_at += size;
    }

    void markQuestion() {
        if (!m_question) m_question = m_out;
    }
    void putInteger(int64 value) {
        const auto magnitude = static_cast<uint64>(value < 0 ? ~value : value);
        const int length = (std::bit_width(magnitude) + 7) / 8;
        put(static_cast<unsigned>(ValueType::Integer64));
        put(static_cast<unsigned>(value < 0 ? 0x7F - length : 0x80 + length));
        putHighestFirst(static_cast<uint64>(value), length);
    }
    void putFloat(double value) {
        if (std::isnan(value)) markQuestion();
        put(static_cast<unsigned>(ValueType::Float));
        putHighestFirst(orderBits(value), 8);
    }
    void putHighestFirst(uint64 value, int length) {
        for (int shift = 8 * (length - 1); shift >= 0; shift -= 8) {
            put(static_cast<unsigned>(value >> shift & 0xFF));
        }
    }
    void putSized(const uint8* bytes, size_t size) {
        for (size_t i = 0; i < size; ++i) {
            put(bytes[i]);
            if (bytes[i] == 0) put(0xFF);
        }
        put(0);
        put(0);
    }
    void beginNestedList(size_t size) {
        put(static_cast<unsigned>(ValueType::SubItem));
        m_outerEnds.push_back(m_end);
        m_end = m_at + size;
        m_at += 5;
    }
    void endNestedList() {
        put(0);
        putSized(m_at, rest());
        m_at = m_end;
        m_end = m_outerEnds.back();
        m_outerEnds.pop_back();
    }

    const uint8* m_at;
    const uint8* m_end;
    char* m_out;
    char* m_question = nullptr;
    std::vector<const uint8*> m_outerEnds;
};

char* OrderKey::reserve(size_t size) {
    if (size <= kInlineSize) return m_inline.data();
    // The memory of a very large key is not kept for long.
    if (size > m_heapSize || (m_heapSize > kKeptSize && size <= kKeptSize)) {
        m_heap.reset(new char[size]);
        m_heapSize = size;
    }
    return m_heap.get();
}

void OrderKey::assign(const Item& key) {
    m_bytes = reserve(largestForm(key.getPlainSize()));
    Writer writer(key.getConstByteSpan(), m_bytes);
    writer.writeAll();
    m_size = static_cast<size_t>(writer.end() - m_bytes);
    m_isQuestion = writer.question() != nullptr;
    m_fixedSize = m_isQuestion ? static_cast<size_t>(writer.question() - m_bytes) : m_size;
}

std::string_view OrderKey::turnIntoEndOfFixedPart() {
    size_t size = m_fixedSize;
    while (size != 0 && static_cast<uint8>(m_bytes[size - 1]) == 0xFF) --size;
    if (size != 0) m_bytes[size - 1] = static_cast<char>(m_bytes[size - 1] + 1);
    return {m_bytes, size};
}

} // namespace qel::internal
