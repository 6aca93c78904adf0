#include <qel/foundation/base/object.h>

#include <qel/foundation/base/buffer.h>
#include <qel/foundation/base/mutex.h>
#include <qel/foundation/locale/translation_p.h>
#include <qel/foundation/log/message_stream.h>
#include <qel/system/core/system.h>

#include <functional>
#include <string>
#include <string_view>
#include <unordered_map>

namespace qel {

namespace internal {

namespace {

bool loadText(const String& resource, String& text) {
    Buffer content;
    if (!Object::system() || !content.loadFromResource(resource.c_str(), true)) return false;
    text.assign(content.getConstByteSpan().asText());
    return true;
}

} // namespace

TranslationSource findTranslation(SmartCStr language, SmartCStr key, String& text) {
    const String start = "tr-" + String(key) + ".";
    if (!language.empty() && loadText(start + language.c_str() + ".txt", text))
        return TranslationSource::Language;
    if (language != "en" && loadText(start + "en.txt", text)) return TranslationSource::English;
    if (loadText(start + "txt", text)) return TranslationSource::Neutral;
    text = "NOTR:" + String(key);
    return TranslationSource::None;
}

void warnOfMissingTranslation(TranslationSource source, SmartCStr language, SmartCStr key) {
    if (source == TranslationSource::English)
        logging::warning() << "[TR] missing >" << language.c_str() << "< translation of '" << key.c_str()
                           << "', using >en< version";
    if (source == TranslationSource::None)
        logging::warning() << "[TR] missing translation of '" << key.c_str() << "'";
}

} // namespace internal

namespace {

using internal::TranslationSource;

struct Record {
    String text; // not changed once it is not empty, because tr() has returned its address
    bool missing = false;
};

struct Cache {
    Mutex mutex;
    // Keys are looked up without copying them to a string.
    std::unordered_map<String, Record, std::hash<String>, std::equal_to<>> records QEL_GUARDED_BY(mutex);
    uint64 generation QEL_GUARDED_BY(mutex) = 0; // counts how often the records were dropped
};

Cache& cache() {
    static Cache instance;
    return instance;
}

struct Translation {
    const char* text;
    bool missing;
};

// An empty text is not returned from the record, because a later lookup may still fill that.
Translation view(const Record& record) {
    return {record.text.empty() ? "" : record.text.c_str(), record.missing};
}

// The lookup runs without the lock, because it may call a host's provider. If the cache was cleared
// meanwhile, the lookup is repeated. Of two threads with the same key, only the one that stores its text logs
// a warning.
Translation fetch(SmartCStr key, bool quiet) {
    Cache& shared = cache();
    MutexLock lock(shared.mutex);
    for (;;) {
        const auto known = shared.records.find(key.view());
        if (known != shared.records.end() && !known->second.text.empty()) return view(known->second);
        const uint64 generation = shared.generation;
        lock.unlock();
        const String language = Object::system() ? Object::system()->getLanguage() : String();
        String text;
        const TranslationSource source = internal::findTranslation(language, key, text);
        lock.lock();
        if (generation != shared.generation) continue;
        Record& record = shared.records[key.c_str()];
        if (!record.text.empty()) return view(record);
        record = {std::move(text), source == TranslationSource::None};
        const Translation result = view(record);
        lock.unlock();
        if (!quiet) internal::warnOfMissingTranslation(source, language, key);
        return result;
    }
}

} // namespace

const char* Object::tr(const char* key) {
    return fetch(key, false).text;
}

const char* Object::tr(const char* key, const char* fallback) {
    const Translation translation = fetch(key, true);
    return translation.missing ? fallback : translation.text;
}

bool Object::isTrValid(const char* key) {
    return !fetch(key, false).missing;
}

String Object::tr_l(const char* language, const char* key) {
    String text;
    const TranslationSource source = internal::findTranslation(language, key, text);
    internal::warnOfMissingTranslation(source, language, key);
    return text;
}

String Object::tr_l(const char* language, const char* key, const char* fallback) {
    String text;
    if (internal::findTranslation(language, key, text) == TranslationSource::None) return fallback;
    return text;
}

void Object::clearTrCache() {
    Cache& shared = cache();
    const MutexLock lock(shared.mutex);
    shared.records.clear();
    shared.generation++;
}

} // namespace qel
