#include "json_rpc_message.h"

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
};

const char* textOf(JsonRpcError error) {
    const auto found = std::find_if(std::begin(kErrorTexts), std::end(kErrorTexts),
                                    [&](const ErrorText& row) { return row.error == error; });
    return found->text;
}

// Counts brackets outside of texts; whether they match is the parser's business.
bool isTooDeep(std::string_view line, int limit) {
    int depth = 0;
    bool inText = false;
    for (std::size_t i = 0; i < line.size(); ++i) {
        const char c = line[i];
        if (inText && c == '\\') ++i;
        if (c == '"') inText = !inText;
        if (inText) continue;
        if (c == '[' || c == '{') ++depth;
        if (c == ']' || c == '}') --depth;
        if (depth > limit) return true;
    }
    return false;
}

bool isItemText(const std::string& text) {
    return text.find('\0') == text.npos; // it would end the element, and the rest be read as others
}

/// Whether an Item can hold exactly this value. Its depth is known to be small.
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

/// What speaks against handing a list to handlers, or out; nothing if it may pass.
std::optional<JsonRpcError> judge(const Item& list, int levels) {
    if (levels == 0) return JsonRpcError::TooDeep;
    for (Item::Iterator reader = list.getIterator(); reader.hasNextElement();) {
        Item nested;
        if (reader.asWeakSubItem(nested)) {
            if (const auto problem = judge(nested, levels - 1)) return problem;
            continue;
        }
        const bool isPrefix = reader.getType() == qel::ValueType::Prefix;
        const char* const text = reader.asWeakCStr();
        if (isPrefix && std::strcmp(text, Item::kScriptPrefix) == 0) return JsonRpcError::CodeRefused;
        if (!text) reader.skip(1);
    }
    return std::nullopt;
}

std::optional<JsonRpcError> readArguments(const json& params, Item& arguments, const JsonRpcLimits& limits) {
    if (params.is_object() && params.size() == 1 && params.contains(kItemMember)) {
        const json& bytes = params[kItemMember];
        if (!bytes.is_string() || !arguments.setBase64crc(bytes.get<std::string>())) {
            return JsonRpcError::InvalidParams;
        }
        return judge(arguments, limits.depth);
    }
    Item value;
    if (!isItemValue(params) || !value.setJSON(params.dump())) return JsonRpcError::InvalidParams;
    if (params.is_array())
        value.getIterator().asSubItem(arguments);
    else
        arguments = value;
    return judge(arguments, limits.depth);
}

bool isId(const json& id) {
    return id.is_string() || id.is_number() || id.is_null();
}

JsonRpcRequest refused(JsonRpcError error) {
    JsonRpcRequest request;
    request.refusal = error;
    return request;
}

JsonRpcRequest readRequest(const json& object, const JsonRpcLimits& limits) {
    if (!object.is_object()) return refused(JsonRpcError::InvalidRequest);
    JsonRpcRequest request;
    const auto id = object.find("id");
    if (id != object.end() && isId(*id)) request.id = id->dump();
    const auto version = object.find("jsonrpc");
    const auto method = object.find("method");
    const auto params = object.find("params");
    const bool isValid = version != object.end() && *version == "2.0" && method != object.end() &&
                         method->is_string() && isItemText(method->get_ref<const std::string&>()) &&
                         (id == object.end() || isId(*id)) &&
                         (params == object.end() || params->is_structured());
    if (!isValid) {
        request.refusal = JsonRpcError::InvalidRequest;
        return request;
    }
    request.isNotification = id == object.end();
    request.method = method->get<std::string>();
    if (params != object.end()) request.refusal = readArguments(*params, request.arguments, limits);
    return request;
}

/// The bytes of the next value: an element, or the two of a table.
Item takeValue(Item::Iterator& reader, const Item& list) {
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
        const qel::String value = takeValue(reader, result).getJSON(false);
        if (value.empty()) return itemText(result);
        values += (count == 0 ? "" : ",") + value;
    }
    if (static_cast<std::size_t>(reader.getOffset()) != result.getPlainSize()) return itemText(result);
    if (count == 0) return "null";
    return count == 1 ? values : "[" + values + "]";
}

} // namespace

JsonRpcMessage parseMessage(std::string_view line, const JsonRpcLimits& limits) {
    if (isTooDeep(line, limits.depth)) return {false, {refused(JsonRpcError::TooDeep)}};
    const json parsed = json::parse(line, nullptr, false);
    if (parsed.is_discarded()) return {false, {refused(JsonRpcError::ParseError)}};
    if (!parsed.is_array()) return {false, {readRequest(parsed, limits)}};
    if (parsed.empty()) return {false, {refused(JsonRpcError::InvalidRequest)}};
    if (parsed.size() > limits.batchCalls) return {false, {refused(JsonRpcError::TooMany)}};
    JsonRpcMessage message{true, {}};
    for (const json& object : parsed) message.requests.push_back(readRequest(object, limits));
    return message;
}

std::string errorReply(JsonRpcError error, std::string_view id) {
    return "{\"jsonrpc\":\"2.0\",\"error\":{\"code\":" + std::to_string(static_cast<int>(error)) +
           ",\"message\":\"" + textOf(error) + "\"},\"id\":" + std::string(id) + "}";
}

std::string resultReply(const Item& result, std::string_view id) {
    if (judge(result, Item::kMaxDepth)) return errorReply(JsonRpcError::InternalError, id);
    return "{\"jsonrpc\":\"2.0\",\"result\":" + resultText(result) + ",\"id\":" + std::string(id) + "}";
}

std::string batchReply(const std::vector<std::string>& replies) {
    std::string text = "[";
    for (const std::string& reply : replies) text += (text.size() == 1 ? "" : ",") + reply;
    return text + "]";
}

} // namespace qelserver
