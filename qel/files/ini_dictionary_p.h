// The keys and values of an INI file.
#pragma once

#include <qel/foundation/base/byte_span.h>
#include <qel/foundation/base/containers.h>
#include <qel/foundation/base/string.h>

#include <memory>
#include <optional>
#include <string_view>
#include <unordered_map>

struct _dictionary_; // the iniparser library's own

namespace qel::internal {

/// The values that the iniparser library reads from a file, by key. The library's own dictionary searches all
/// its keys for every key that it adds or finds, so a larger file is passed to it in pieces and the results
/// are collected here: the time to load a file is linear in its size.
class IniDictionary {
public:
    /// Loads a whole file in a time that grows with the square of its size. @return true if it was loaded;
    /// errors are logged.
    bool loadWhole(const char* path);
    /// Loads a file of any size. @param path  the file's name in log lines. @return as loadWhole().
    bool loadPieces(const char* path, std::string_view content);

    /// Returns the value of @p key, "section:key" in any case; null if it is absent or names a section.
    const char* find(std::string_view key) const;
    /// Returns all keys of the section @p name as "section:key" in lower case, in the order of the file. The
    /// pointers are valid as long as this object.
    Vector<const char*> keysOf(std::string_view name) const;

private:
    using Value = std::optional<std::string>; // a section's name has no value

    bool loadPiece(const char* path, std::string_view content, size_t firstLine);
    void take(const _dictionary_& loaded);

    std::unordered_map<std::string, Value> m_values;
    Vector<const std::string*> m_keys; // in the order of the file; m_values owns them
};

} // namespace qel::internal
