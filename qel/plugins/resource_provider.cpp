#include <qel/plugins/resource_provider.h>

#include <qel/foundation/base/buffer.h>
#include <qel/plugins/json.h>

#include <algorithm>

namespace qel {

namespace {

// An integer keeps its lowest 32 bits. A float is truncated and clamped to the range.
int32 toPriority(const nlohmann::json& value, int32 otherwise) {
    if (value.is_boolean()) return value.get<bool>();
    if (value.is_number_integer()) return static_cast<int32>(value.get<int64>());
    if (value.is_number_float())
        return static_cast<int32>(std::clamp<double>(value.get<double>(), INT32_MIN, INT32_MAX));
    return otherwise;
}

} // namespace

bool ResourceProvider::loadResourceAsync(SmartCStr, const std::function<void(const Buffer&)>&) {
    return false;
}

void ResourceProvider::fetchPriorityFromResource() {
    Buffer content;
    nlohmann::json json;
    if (!loadResource("resources.json", content)) return;
    if (!util::parseJSON(content.getConstByteSpan().asText(), json) || !json.is_object()) return;
    const auto entry = json.find("priority");
    if (entry != json.end()) m_priority = toPriority(*entry, m_priority);
}

} // namespace qel
