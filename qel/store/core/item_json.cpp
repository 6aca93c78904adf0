// Converts the first element of an Item to JSON and back.
#include <qel/foundation/log/message_stream.h>
#include <qel/store/core/element_cursor_p.h>
#include <qel/store/core/item.h>

#include <nlohmann/json.hpp>

#include <exception>
#include <utility>

namespace qel {
namespace {

using internal::ElementCursor;
using Json = nlohmann::json;

bool read(ElementCursor& element, Json& value, int depth);

/// Returns the elements of a list at a level; none below the deepest level.
ElementCursor elementsOf(ConstByteSpan list, int depth) {
    return ElementCursor(depth <= Item::kMaxDepth ? list : ConstByteSpan());
}

bool readArray(ConstByteSpan list, Json& array, int depth) {
    array = Json::array();
    for (ElementCursor element = elementsOf(list, depth); element;) {
        array.emplace_back();
        if (!read(element, array.back(), depth)) return false;
    }
    return true;
}

bool readObject(ConstByteSpan list, Json& object, int depth) {
    object = Json::object();
    for (ElementCursor element = elementsOf(list, depth); element;) {
        if (!internal::isText(element.type())) return false;
        Json& value = object[std::string(element.text())];
        element.next();
        if (!read(element, value, depth)) return false;
    }
    return true;
}

/// Reads a value and moves past it. @return false if JSON cannot represent it.
bool read(ElementCursor& element, Json& value, int depth) {
    switch (element.type()) {
    case ValueType::Integer8:
    case ValueType::Integer16:
    case ValueType::Integer32:
    case ValueType::Integer64:
        value = element.integer();
        break;
    case ValueType::Float:
        value = element.number();
        break;
    case ValueType::String:
        value = element.text();
        break;
    case ValueType::NIL:
        value = nullptr;
        break;
    case ValueType::False:
        value = false;
        break;
    case ValueType::True:
        value = true;
        break;
    case ValueType::GUID:
        value = GUID::kTextPrefix + GUID::fromBytes(element.guid()).toString();
        break;
    case ValueType::SubItem:
        if (!readArray(element.payload(), value, depth + 1)) return false;
        break;
    case ValueType::Prefix:
        if (element.text() != Item::kTablePrefix) return false;
        element.next();
        if (element.type() != ValueType::SubItem) return false;
        if (!readObject(element.payload(), value, depth + 1)) return false;
        break;
    default:
        return false;
    }
    element.next();
    return true;
}

bool write(Item& item, const Json& value, int depth);

/// Appends text from outside up to its first zero byte: what follows would be read as elements of the list.
void writeText(Item& item, const std::string& text) {
    item.addStringOrEncodedGUID(SmartCStr(text));
}

bool writeArray(Item& item, const Json& array, int depth) {
    if (depth > Item::kMaxDepth) return false;
    const size_t begin = item.openSubItem();
    for (const Json& value : array) {
        if (!write(item, value, depth)) return false;
    }
    item.closeSubItem(begin);
    return true;
}

bool writeObject(Item& item, const Json& object, int depth) {
    if (depth > Item::kMaxDepth) return false;
    item.addPrefix(Item::kTablePrefix);
    const size_t begin = item.openSubItem();
    for (const auto& [key, value] : object.items()) {
        item.addString(SmartCStr(key));
        if (!write(item, value, depth)) return false;
    }
    item.closeSubItem(begin);
    return true;
}

/// Appends a value to a list at level @p depth. @return false if it is nested too deeply.
bool write(Item& item, const Json& value, int depth) {
    switch (value.type()) {
    case Json::value_t::object:
        return writeObject(item, value, depth + 1);
    case Json::value_t::array:
        return writeArray(item, value, depth + 1);
    case Json::value_t::string:
        writeText(item, value.get_ref<const std::string&>());
        break;
    case Json::value_t::boolean:
        item.addBool(value.get<bool>());
        break;
    case Json::value_t::number_integer:
    case Json::value_t::number_unsigned:
        item.addInteger(value.get<int64>());
        break;
    case Json::value_t::number_float:
        item.addFloat(value.get<double>());
        break;
    default:
        item.addNIL();
        break;
    }
    return true;
}

} // namespace

String Item::getJSON(bool pretty) const {
    try {
        Json value;
        ElementCursor first(getConstByteSpan());
        if (read(first, value, 0)) return value.dump(pretty ? 2 : -1);
    } catch (const std::exception& error) {
        logging::error() << "[SUPPORT] Failed to decode item as JSON, err=" << error.what();
    } catch (...) {
        logging::error() << "[SUPPORT] Failed to decode item as JSON with unknown error";
    }
    return {};
}

bool Item::setJSON(const String& text) {
    clear();
    try {
        // The parser would treat a zero byte as the end of the text.
        const bool hasZero = std::string_view(text).find('\0') != std::string_view::npos;
        if (!hasZero && write(*this, Json::parse(text), 0)) return true;
    } catch (...) {
        // The line below is the only report.
    }
    clear(); // lists that were left open have no size yet
    logging::error() << "[SUPPORT] Failed parsing Item from JSON";
    return false;
}

} // namespace qel
