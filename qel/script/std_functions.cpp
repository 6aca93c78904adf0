// The functions of the table `std` except those for threads and queues, and the order of all of them.
#include <qel/script/script_library_p.h>

#include <qel/foundation/base/object.h>
#include <qel/foundation/log/message_stream.h>
#include <qel/script/script_log_p.h>
#include <qel/store/core/item.h>

namespace qelSq::internal {

namespace {

constexpr int kNormal = 2;
constexpr int kCustomer = 3;

template <int level, int channels>
void logText(const char* text) {
    qel::logging::MessageStream(level, channels) << "[SQ] " << text;
}

void logSupport(const char* text) {
    qel::logging::MessageStream(1, kNormal) << "[SUPPORT] [SQ] " << text;
}

const char* translate(const char* key) {
    return qel::Object::tr(key);
}

Object decodeJSON(const qel::String& text) {
    Object value;
    qel::Item item;
    if (item.setJSON(text)) item.getIterator().asSquirrel(value);
    return value;
}

template <bool pretty>
qel::String encodeJSON(const Object& value) {
    return qel::Item(value).getJSON(pretty);
}

qel::String translateTo(const char* language, const char* key) {
    return qel::Object::tr_l(language, key);
}

} // namespace

void fillStd(Object& table) {
    addThreadFunctions(table);
    addProcessFunctions(table);
    table.asTable().squirrelFunction("dbg_showcontext", &showContext);
    addQueueFunctions(table);
    addFunction<&translate>(table, "tr");
    addFunction<&translateTo>(table, "tr_l");
    addCurrentQueueFunctions(table);
    addFunction<&logText<1, kNormal>>(table, "info");
    addFunction<&logText<0, kNormal>>(table, "verbose");
    addFunction<&logSupport>(table, "support");
    addFunction<&logText<2, kNormal>>(table, "warn");
    addFunction<&logText<3, kNormal>>(table, "error");
    addFunction<&logText<1, kCustomer>>(table, "info_customer");
    addFunction<&logText<2, kCustomer>>(table, "warn_customer");
    addFunction<&logText<3, kCustomer>>(table, "error_customer");
    addFunction<&decodeJSON>(table, "decode_json");
    addFunction<&encodeJSON<false>>(table, "encode_json");
    addFunction<&encodeJSON<true>>(table, "encode_json_pretty");
}

} // namespace qelSq::internal
