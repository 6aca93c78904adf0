// JSON as an Item, as script values, and back.
#include <fuzz/require.h>
#include <qel/foundation/log/message_stream.h>
#include <qel/script/object.h>
#include <qel/store/core/item.h>
#include <qel/system/core/system.h>

#include <nlohmann/json.hpp>

#include <random>

using namespace qel;
using Json = nlohmann::json;

extern "C" size_t LLVMFuzzerMutate(uint8* data, size_t size, size_t maxSize);

namespace {

using Random = std::minstd_rand;

Json randomValue(Random& random) {
    static const char* const kTexts[] = {"", "a", "GUID:::00", "\xC3\xA4", "{", "table"};
    switch (random() % 8) {
    case 0:
        return nullptr;
    case 1:
        return random() % 2 == 0;
    case 2:
        return static_cast<int64>(random()) << random() % 33;
    case 3:
        return static_cast<double>(random()) / (1 + random() % 1000);
    case 4:
        return std::string("a\0b", 3);
    case 5:
        return Json::array({1, "x"});
    case 6:
        return Json{{"a", 1}, {"b", nullptr}};
    default:
        return kTexts[random() % 6];
    }
}

/// Descends from @p value at random, and changes the value that it reaches.
void mutate(Json& value, Random& random) {
    if (value.is_structured() && !value.empty() && random() % 4 != 0) {
        auto at = value.begin();
        std::advance(at, static_cast<std::ptrdiff_t>(random() % value.size()));
        if (random() % 8 == 0) {
            value.erase(at);
        } else {
            mutate(*at, random);
        }
    } else if (value.is_array()) {
        value.push_back(randomValue(random));
    } else if (value.is_object()) {
        value[std::to_string(random() % 9)] = randomValue(random);
    } else {
        value = random() % 4 == 0 ? Json::array({value}) : randomValue(random);
    }
}

/// Scripts preserve everything except the precision of floats.
void requireScriptValue(const Item& item) {
    qelSq::Object value;
    require(item.getIterator().asSquirrel(value, ScriptCode::Refuse));
    const String json = item.getJSON(false);
    if (json.find_first_of(".e") == String::npos) require(Item(value).getJSON(false) == json);
}

} // namespace

extern "C" size_t LLVMFuzzerCustomMutator(uint8* data, size_t size, size_t maxSize, unsigned seed) {
    Random random(seed);
    Json value = Json::parse(data, data + size, nullptr, false);
    if (value.is_discarded() || random() % 4 == 0) return LLVMFuzzerMutate(data, size, maxSize);
    mutate(value, random);
    const std::string text = value.dump(random() % 3 == 0 ? 1 : -1, ' ', random() % 2 == 0);
    if (text.size() > maxSize) return LLVMFuzzerMutate(data, size, maxSize);
    std::copy(text.begin(), text.end(), data);
    return text.size();
}

extern "C" int LLVMFuzzerTestOneInput(const uint8* data, size_t size) {
    logging::setConsoleWriter([](const logging::ConsoleLine&) {});
    if (!internal::g_system) System::initialize({});
    Item item;
    if (!item.setJSON(String(ConstByteSpan(data, size).asText()))) return 0;
    for (const bool pretty : {false, true}) {
        const String json = item.getJSON(pretty);
        Item again;
        require(!json.empty() && again.setJSON(json) && again == item);
        require(again.getConstByteSpan().asText() == item.getConstByteSpan().asText());
    }
    requireScriptValue(item);
    require(!item.hasScriptCode());
    return 0;
}
