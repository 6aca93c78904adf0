#include <qel/store/core/item_iterator.h>

#include <qel/foundation/base/buffer.h>
#include <qel/foundation/base/string_id.h>

#include <fmt/format.h>

#include <limits>
#include <locale>
#include <sstream>

namespace qel {
namespace {

/// Truncates towards zero; a number outside the range becomes the nearest limit, and a NaN becomes 0.
int64 toInteger(double value) {
    constexpr double kLimit = 9223372036854775808.0;
    if (value != value) return 0;
    if (value >= kLimit) return std::numeric_limits<int64>::max();
    if (value < -kLimit) return std::numeric_limits<int64>::min();
    return static_cast<int64>(value);
}

/// Parses the beginning of the text as a stream would; returns 0 if it is not a number.
template <typename T>
T readNumber(const char* text) {
    std::istringstream in(text);
    in.imbue(std::locale::classic());
    T value = 0;
    in >> value;
    return value;
}

} // namespace

bool Item::Iterator::skip(int count) {
    for (; count > 0; --count) {
        const size_t size = elementSize();
        if (size == 0) return false;
        advance(size);
    }
    return true;
}

ValueType Item::Iterator::extract(Item& target) {
    const size_t size = elementSize();
    if (size == 0) return ValueType::None;
    const ValueType type = tag(); // before the target changes, because it may be this Item
    target.setPlain(here(), size);
    advance(size);
    return type;
}

bool Item::Iterator::asBool(bool& value) {
    const ValueType type = tag();
    if (type != ValueType::True && type != ValueType::False) return false;
    value = type == ValueType::True;
    advance(1);
    return true;
}

bool Item::Iterator::asFloat(float& value) {
    double wide;
    if (!asFloat(wide)) return false;
    value = static_cast<float>(wide);
    return true;
}

bool Item::Iterator::asString(String& text) {
    size_t size;
    const char* const bytes = readText(size);
    if (!bytes) return false;
    text.assign(bytes, size);
    return true;
}

bool Item::Iterator::asStringId(StringId& text) {
    size_t size;
    const char* const bytes = readText(size);
    if (!bytes) return false;
    text.assign(bytes, size);
    return true;
}

bool Item::Iterator::asBuffer(Buffer& buffer) {
    ConstByteSpan bytes;
    if (!asWeakBuffer(bytes)) return false;
    buffer.set(bytes);
    return true;
}

bool Item::Iterator::asWeakBuffer(const uint8*& bytes, size_t& size) {
    ConstByteSpan span;
    if (!asWeakBuffer(span)) return false;
    bytes = span.data;
    size = span.size;
    return true;
}

bool Item::Iterator::asNIL() {
    if (tag() != ValueType::NIL) return false;
    advance(1);
    return true;
}

bool Item::Iterator::asSubItem(Item& target) {
    ConstByteSpan list;
    if (!readSized(ValueType::SubItem, list)) return false;
    target.setPlain(list.data, list.size);
    inheritStore(target);
    return true;
}

bool Item::Iterator::asWeakSubItem(Item& target) {
    ConstByteSpan list;
    if (!readSized(ValueType::SubItem, list)) return false;
    view(target, list);
    return true;
}

bool Item::Iterator::asWeakItemView(Item& target) {
    const size_t size = elementSize();
    if (size == 0) return false;
    const ConstByteSpan element(here(), size);
    advance(size);
    view(target, element);
    return true;
}

bool Item::Iterator::asStringOrGUID(String& text, GUID& guid) {
    text.clear();
    guid = GUID();
    return asString(text) || asGUID(guid);
}

bool Item::Iterator::asWeakTable(Map<SmartCStr, Item>& table) {
    Iterator next = *this;
    Item list;
    if (next.tag() != ValueType::Prefix) return false;
    const char* const prefix = next.asWeakCStr();
    if (!prefix || SmartCStr(prefix) != kTablePrefix || !next.asWeakSubItem(list)) return false;
    *this = next;
    table.clear();
    Iterator pairs(list);
    while (const char* const key = pairs.asWeakCStr()) {
        if (!pairs.hasNextElement()) break;
        pairs.asWeakItemView(table[key]);
    }
    return true;
}

bool Item::Iterator::convertAsBool(bool& value) {
    double number;
    int64 integer;
    switch (tag()) {
    case ValueType::True:
    case ValueType::False:
        return asBool(value);
    case ValueType::Float:
        if (!asFloat(number)) return false;
        value = number != 0.0;
        return true;
    case ValueType::String:
    case ValueType::Prefix:
    case ValueType::Buffer:
    case ValueType::SubItem:
    case ValueType::GUID:
        if (!skip()) return false;
        value = true;
        return true;
    default:
        if (!asInteger(integer)) return false;
        value = integer != 0;
        return true;
    }
}

bool Item::Iterator::convertAsInteger(int64& value) {
    double number;
    bool truth;
    if (asInteger(value)) return true;
    if (asFloat(number)) {
        value = toInteger(number);
    } else if (const char* const text = asWeakCStr()) {
        value = readNumber<int64>(text);
    } else if (asBool(truth)) {
        value = truth;
    } else {
        return false;
    }
    return true;
}

bool Item::Iterator::convertAsInteger(int32& value) {
    int64 wide;
    if (!convertAsInteger(wide)) return false;
    value = static_cast<int32>(wide);
    return true;
}

bool Item::Iterator::convertAsInteger(uint64& value) {
    int64 integer;
    if (!convertAsInteger(integer)) return false;
    value = static_cast<uint64>(integer);
    return true;
}

bool Item::Iterator::convertAsFloat(double& value) {
    int64 integer;
    bool truth;
    if (asFloat(value)) return true;
    if (asInteger(integer)) {
        value = static_cast<double>(integer);
    } else if (const char* const text = asWeakCStr()) {
        value = readNumber<double>(text);
    } else if (asBool(truth)) {
        value = truth ? 1.0 : 0.0;
    } else {
        return false;
    }
    return true;
}

bool Item::Iterator::convertAsString(String& text) {
    double number;
    int64 integer;
    bool truth;
    GUID guid;
    if (asString(text)) return true;
    if (asFloat(number)) {
        text = fmt::format("{:g}", number);
    } else if (asInteger(integer)) {
        text = std::to_string(integer);
    } else if (asBool(truth)) {
        text = truth ? "true" : "false";
    } else if (asGUID(guid)) {
        text = GUID::kTextPrefix + guid.toString();
    } else {
        return false;
    }
    return true;
}

void Item::Iterator::inheritStore(Item& target) const {
    if (!target.m_store) target.m_store = m_item->m_store;
}

void Item::Iterator::view(Item& target, ConstByteSpan bytes) const {
    if (&target == m_item) {
        target.setPlain(bytes.data, bytes.size);
    } else {
        target.setPlainExternalBuffer(bytes.data, bytes.size);
    }
    inheritStore(target);
}

} // namespace qel
