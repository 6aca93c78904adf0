#include <qel/files/ini_parser.h>

#include <qel/files/file.h>
#include <qel/foundation/base/mutex.h>
#include <qel/foundation/base/number_format.h>
#include <qel/foundation/log/message_stream.h>
#include <qel/platform/c_locale.h>
#include <qel/store/core/item.h>

#include <algorithm>
#include <cstdlib>
#include <limits>

#include <fmt/format.h>
#include <iniparser.h>

namespace qel {

namespace {

constexpr size_t kMaxNameSize = 1023; // of the library's own lines; it does not check names it is asked for

Mutex g_libraryMutex; // over the library's error callback, which it has but one of
Vector<String>* g_libraryErrors QEL_GUARDED_BY(g_libraryMutex) = nullptr;

// Called within load() alone, under its lock.
QEL_NO_THREAD_ANALYSIS int keepLibraryError(const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    g_libraryErrors->push_back(util::stringFormat_valist(format, arguments));
    va_end(arguments);
    return 0;
}

dictionary* load(const char* path) {
    File::FileInfo info;
    if (!File::getFileInfo(path, info)) return nullptr;
    if (info.isDirectory || info.isSpecial || info.size > INIParser::kMaxFileSize) {
        logging::error() << "cant read ini file '" << path << "' of " << info.size << " bytes";
        return nullptr;
    }
    Vector<String> errors; // logged behind the lock, since listeners of the log may load files too
    MutexLock lock(g_libraryMutex);
    g_libraryErrors = &errors;
    iniparser_set_error_callback(keepLibraryError);
    dictionary* const loaded = iniparser_load(path);
    iniparser_set_error_callback(nullptr);
    lock.unlock();
    for (const String& error : errors) logging::error() << error;
    return loaded;
}

template <typename T>
T toFloat(const char* text) {
    const platform::CLocaleScope plainNumbers;
    if constexpr (std::is_same_v<T, float>) return std::strtof(text, nullptr);
    return static_cast<T>(std::strtod(text, nullptr));
}

int toInt(const char* text) {
    using Limits = std::numeric_limits<int>;
    return static_cast<int>(
        std::clamp<long long>(std::strtoll(text, nullptr, 0), Limits::min(), Limits::max()));
}

// A negative number is taken as what it is modulo 2^32.
unsigned toUnsigned(const char* text) {
    constexpr long long kMax = std::numeric_limits<unsigned>::max();
    return static_cast<unsigned>(std::clamp(std::strtoll(text, nullptr, 0), -kMax, kMax));
}

// Passes what stands in the file, if anything does, on to a conversion.
template <typename T, typename Convert>
bool read(const char* text, T& value, const Convert& convert) {
    if (text) value = convert(text);
    return text != nullptr;
}

template <typename T>
bool readFloat(const char* text, T& value, T fallback) {
    value = toFloat<T>(text ? text : fmt::format("{:g}", fallback).c_str());
    return true;
}

} // namespace

void INIParser::FreeDictionary::operator()(dictionary* dictionary) const {
    iniparser_freedict(dictionary);
}

INIParser::INIParser(const char* path) : m_dictionary(load(SmartCStr(path).c_str())) {}

INIParser::~INIParser() = default;

// Null when the key is absent, and for a section's own name.
const char* INIParser::find(SmartCStr key) const {
    return m_dictionary ? iniparser_getstring(m_dictionary.get(), key.c_str(), nullptr) : nullptr;
}

bool INIParser::getString(SmartCStr key, String& value) const {
    return read(find(key), value, [](const char* text) { return String(text); });
}

bool INIParser::getBoolean(SmartCStr key, bool& value) const {
    if (!find(key)) return false;
    const int state = iniparser_getboolean(m_dictionary.get(), key.c_str(), -1);
    if (state != -1) value = state == 1;
    return state != -1;
}

bool INIParser::getFloat(SmartCStr key, float& value) const {
    return read(find(key), value, toFloat<float>);
}

bool INIParser::getFloat(SmartCStr key, double& value) const {
    return read(find(key), value, toFloat<double>);
}

bool INIParser::getFloat(SmartCStr key, float& value, float fallback) const {
    return isValid() && readFloat(find(key), value, fallback);
}

bool INIParser::getFloat(SmartCStr key, double& value, double fallback) const {
    return isValid() && readFloat(find(key), value, fallback);
}

bool INIParser::getInteger(SmartCStr key, int& value) const {
    return read(find(key), value, toInt);
}

bool INIParser::getInteger(SmartCStr key, int& value, int fallback) const {
    if (isValid() && !getInteger(key, value)) value = fallback;
    return isValid();
}

bool INIParser::getInteger(SmartCStr key, unsigned& value, unsigned fallback) const {
    if (isValid() && !read(find(key), value, toUnsigned)) value = fallback;
    return isValid();
}

bool INIParser::hasEntry(SmartCStr key) const {
    int value = -1;
    return getInteger(key, value) && value != -1;
}

bool INIParser::getSection(SmartCStr name, Item& item) const {
    constexpr const char* kListed = "test";
    const size_t nameSize = name.size();
    if (!m_dictionary || nameSize > kMaxNameSize) return false;
    const auto count = static_cast<size_t>(iniparser_getsecnkeys(m_dictionary.get(), name.c_str()));
    const auto listed = static_cast<size_t>(iniparser_getsecnkeys(m_dictionary.get(), kListed));
    if (count == 0 || listed < count) return false;
    Vector<const char*> keys(listed);
    if (!iniparser_getseckeys(m_dictionary.get(), kListed, keys.data())) return false;
    for (size_t i = 0; i < count; ++i) {
        const String key = keys[i];
        const char* const text = find(key);
        item.add(key.substr(std::min(nameSize + 1, key.size()))).add(text ? toInt(text) : 0);
    }
    return true;
}

} // namespace qel
