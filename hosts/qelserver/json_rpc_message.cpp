#include "json_rpc_message.h"

#include "json_rpc_text.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cstring>
#include <limits>

namespace qelserver {

namespace {

using nlohmann::json;
using qel::Item;

constexpr const char* kItemMember = "$item";

struct ErrorText {
    JsonRpcError error;
    const char* text;
};
constexpr ErrorText kErrorTexts[] = {
    {JsonRpcError::ParseError, "Parse error"},
    {JsonRpcError::InvalidRequest, "Invalid Request"},
    {JsonRpcError::MethodNotFound, "Method not found"},
    {JsonRpcError::InvalidParams, "Invalid params"},
    {JsonRpcError::InternalError, "Internal error"},
    {JsonRpcError::TooLarge, "Message too large"},
    {JsonRpcError::TooDeep, "Message too deep"},
    {JsonRpcError::CodeRefused, "Code refused"},
    {JsonRpcError::NotPermitted, "Not permitted"},
    {JsonRpcError::TooMany, "Too many calls or connections"},
    {JsonRpcError::ReplyTooLarge, "Reply too large"},
    {JsonRpcError::NotStored, "Not stored"},
};

const char* textOf(JsonRpcError error) {
    const auto found = std::find_if(std::begin(kErrorTexts), std::end(kErrorTexts),
                                    [&](const ErrorText& row) { return row.error == error; });
    return found->text;
}

// Counts brackets outside of strings; the parser checks that they match.
bool isTooDeep(std::string_view line, int limit) {
    int depth = 0;
    bool inString = false;
    for (std::size_t i = 0; i < line.size(); ++i) {
        const char c = line[i];
        if (inString && c == '\\') ++i;
        if (c == '"') inString = !inString;
        if (inString) continue;
        if (c == '[' || c == '{') ++depth;
        if (c == ']' || c == '}') --depth;
        if (depth > limit) return true;
    }
    return false;
}

bool isItemText(const std::string& text) {
    return text.find('\0') ==
           text.npos; // it would end the element, and the rest would be read as further elements
}

/// Returns true if an Item can hold exactly this value, whose depth is small.
bool isItemValue(const json& value) {
    if (value.is_string()) return isItemText(value.get_ref<const std::string&>());
    if (value.is_number_unsigned()) {
        return value.get<std::uint64_t>() <=
               static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max());
    }
    if (!value.is_structured()) return true;
    for (const auto& [key, member] : value.items()) {
        if (!isItemText(key) || !isItemValue(member)) return false;
    }
    return true;
}

/// Returns why a list must not reach handlers or peers; nothing if it may.
std::optional<JsonRpcError> refusalOfList(const Item& list, int levels) {
    if (levels == 0) return JsonRpcError::TooDeep;
    for (Item::Iterator reader = list.getIterator(); reader.hasNextElement();) {
        Item nested;
        if (reader.asWeakSubItem(nested)) {
            if (const auto problem = refusalOfList(nested, levels - 1)) return problem;
            continue;
        }
        const bool isPrefix = reader.getType() == qel::ValueType::Prefix;
        const char* const text = reader.asWeakCStr();
        if (isPrefix && std::strcmp(text, Item::kScriptPrefix) == 0) return JsonRpcError::CodeRefused;
        if (!text) reader.skip(1);
    }
    return std::nullopt;
}

std::optional<JsonRpcError> readItem(const json& params, Item& arguments) {
    const bool hasItem = params.size() == 1 && params.contains(kItemMember);
    if (!hasItem || !params[kItemMember].is_string()) return JsonRpcError::InvalidParams;
    const bool isRead = arguments.setBase64crc(params[kItemMember].get<std::string>());
    return isRead ? std::nullopt : std::optional(JsonRpcError::InvalidParams);
}

std::optional<JsonRpcError> readList(const json& params, Item& arguments) {
    Item value;
    if (!isItemValue(params) || !value.setJSON(params.dump())) return JsonRpcError::InvalidParams;
    value.getIterator().asSubItem(arguments);
    return std::nullopt;
}

std::optional<JsonRpcError> readArguments(std::string_view text, Item& arguments, int depth) {
    const json params = json::parse(text);
    const auto refusal = params.is_object() ? readItem(params, arguments) : readList(params, arguments);
    return refusal ? refusal : refusalOfList(arguments, depth);
}

bool isStructured(std::string_view value) {
    return value.starts_with('[') || value.starts_with('{');
}

bool isId(std::string_view value) {
    return !isStructured(value) && value != "true" && value != "false";
}

std::optional<std::string> readText(std::string_view value) {
    if (!value.starts_with('"')) return std::nullopt;
    std::string text = json::parse(value).get<std::string>();
    return isItemText(text) ? std::optional(std::move(text)) : std::nullopt;
}

JsonRpcRequest readRequest(std::string_view object, int depth) {
    JsonRpcRequest request;
    const auto id = memberOfObject(object, "id");
    const auto version = memberOfObject(object, "jsonrpc");
    const auto method = memberOfObject(object, "method");
    const auto params = memberOfObject(object, "params");
    const std::optional<std::string> name = method ? readText(*method) : std::nullopt;
    if (id && isId(*id)) request.id = *id;
    const bool isValid = version && readText(*version) == "2.0" && name && (!id || isId(*id)) &&
                         (!params || isStructured(*params));
    if (!isValid) {
        request.refusal = JsonRpcError::InvalidRequest;
        return request;
    }
    request.isNotification = !id;
    request.method = *name;
    if (params) request.refusal = readArguments(*params, request.arguments, depth);
    return request;
}

/// Skips the next value and returns its bytes. A value is one element, or the two elements of a table.
Item nextValue(Item::Iterator& reader, const Item& list) {
    const std::int64_t begin = reader.getOffset();
    const bool isPrefix = reader.getType() == qel::ValueType::Prefix;
    reader.skip(1);
    if (isPrefix && reader.getType() == qel::ValueType::SubItem) reader.skip(1);
    return Item(Item::ExternalBufferMode, list.getPlainBytePointer() + begin,
                static_cast<std::size_t>(reader.getOffset() - begin));
}

std::string itemText(const Item& list) {
    return json{{kItemMember, std::string(list.getBase64crc())}}.dump();
}

std::string resultText(const Item& result) {
    std::string values;
    std::size_t count = 0;
    Item::Iterator reader = result.getIterator();
    for (; reader.hasNextElement(); ++count) {
        const qel::String value = nextValue(reader, result).getJSON(false);
        if (value.empty()) return itemText(result);
        values += (count == 0 ? "" : ",") + value;
    }
    if (static_cast<std::size_t>(reader.getOffset()) != result.getPlainSize()) return itemText(result);
    if (count == 0) return "null";
    return count == 1 ? values : "[" + values + "]";
}

} // namespace

JsonRpcMessage::JsonRpcMessage(std::string_view line, const JsonRpcLimits& limits) : m_limits(limits) {
    if (isTooDeep(line, limits.depth)) {
        m_refusal = JsonRpcError::TooDeep;
    } else if (!json::accept(line)) {
        m_refusal = JsonRpcError::ParseError;
    }
    if (m_refusal) {
        m_calls = {{0, 0}};
        return;
    }
    m_line = line;
    m_isBatch = line[line.find_first_not_of(" \t\r\n")] == '[';
    if (!m_isBatch) {
        m_calls = {{0, m_line.size()}};
        return;
    }
    for (const std::string_view call : elementsOfArray(m_line, limits.batchCalls + 1))
        m_calls.push_back({static_cast<std::size_t>(call.data() - m_line.data()), call.size()});
    if (m_calls.empty()) m_refusal = JsonRpcError::InvalidRequest;
    if (m_calls.size() > limits.batchCalls) m_refusal = JsonRpcError::TooMany;
    if (!m_refusal) return;
    m_calls = {{0, 0}};
    m_isBatch = false;
}

JsonRpcRequest JsonRpcMessage::readCall(std::size_t index) const {
    if (m_refusal) {
        JsonRpcRequest request;
        request.refusal = m_refusal;
        return request;
    }
    const Span& call = m_calls[index];
    return readRequest(std::string_view(m_line).substr(call.begin, call.size), m_limits.depth);
}

std::string errorReply(JsonRpcError error, std::string_view id) {
    return "{\"jsonrpc\":\"2.0\",\"error\":{\"code\":" + std::to_string(static_cast<int>(error)) +
           ",\"message\":\"" + textOf(error) + "\"},\"id\":" + std::string(id) + "}";
}

std::string resultReply(const Item& result, std::string_view id, std::size_t mostBytes) {
    if (result.getPlainSize() > mostBytes) return errorReply(JsonRpcError::ReplyTooLarge, id);
    if (refusalOfList(result, Item::kMaxDepth)) return errorReply(JsonRpcError::InternalError, id);
    const std::string text = resultText(result);
    if (text.size() > mostBytes) return errorReply(JsonRpcError::ReplyTooLarge, id);
    return "{\"jsonrpc\":\"2.0\",\"result\":" + text + ",\"id\":" + std::string(id) + "}";
}

std::string batchReply(const std::vector<std::string>& replies) {
    std::string text = "[";
    for (const std::string& reply : replies) text += (text.size() == 1 ? "" : ",") + reply;
    return text + "]";
}

} // namespace qelserver
