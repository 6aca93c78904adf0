#include <qel/files/ini_parser.h>

#include <qel/files/file.h>
#include <qel/files/ini_dictionary_p.h>
#include <qel/foundation/base/buffer.h>
#include <qel/foundation/log/message_stream.h>
#include <qel/platform/c_locale.h>
#include <qel/store/core/item.h>

#include <algorithm>
#include <cstdlib>
#include <limits>

#include <fmt/format.h>

namespace qel {

namespace {

bool loadContent(internal::IniDictionary& target, const char* path, uint64 size) {
    constexpr uint64 kMaxWholeSize = 32 * 1024;
    if (size <= kMaxWholeSize) return target.loadWhole(path);
    Buffer content;
    return content.loadFromFile(path, false, false) &&
           target.loadPieces(path, content.getConstByteSpan().asText());
}

std::unique_ptr<internal::IniDictionary> load(const char* path) {
    File::FileInfo info;
    if (!File::getFileInfo(path, info)) return nullptr;
    if (info.isDirectory || info.isSpecial || info.size > INIParser::kMaxFileSize) {
        logging::error() << "cant read ini file '" << path << "' of " << info.size << " bytes";
        return nullptr;
    }
    auto loaded = std::make_unique<internal::IniDictionary>();
    return loadContent(*loaded, path, info.size) ? std::move(loaded) : nullptr;
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

// A negative number is converted modulo 2^32.
unsigned toUnsigned(const char* text) {
    constexpr long long kMax = std::numeric_limits<unsigned>::max();
    return static_cast<unsigned>(std::clamp(std::strtoll(text, nullptr, 0), -kMax, kMax));
}

// Passes the text of the key, if it exists, to a conversion.
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

INIParser::INIParser(const char* path) : m_dictionary(load(SmartCStr(path).c_str())) {}

INIParser::~INIParser() = default;

const char* INIParser::find(SmartCStr key) const {
    return m_dictionary ? m_dictionary->find(key.view()) : nullptr;
}

bool INIParser::getString(SmartCStr key, String& value) const {
    return read(find(key), value, [](const char* text) { return String(text); });
}

bool INIParser::getBoolean(SmartCStr key, bool& value) const {
    constexpr std::string_view kTrue = "yYtT1", kFalse = "nNfF0";
    const char* const text = find(key);
    if (!text || !*text) return false;
    const bool isTrue = kTrue.find(*text) != kTrue.npos;
    if (!isTrue && kFalse.find(*text) == kFalse.npos) return false;
    value = isTrue;
    return true;
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
    if (!m_dictionary) return false;
    const size_t count = m_dictionary->keysOf(name.view()).size();
    const Vector<const char*> listed = m_dictionary->keysOf("test");
    if (count == 0 || listed.size() < count) return false;
    for (size_t i = 0; i < count; ++i) {
        const String key = listed[i];
        const char* const text = find(key);
        item.add(key.substr(std::min(name.size() + 1, key.size()))).add(text ? toInt(text) : 0);
    }
    return true;
}

} // namespace qel
