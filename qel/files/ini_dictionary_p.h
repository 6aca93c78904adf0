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

/// What the iniparser library reads from a file, by key. The library's own dictionary searches all its keys
/// for every key that it adds or finds, so a larger file is given to it in pieces, and what it read of each
/// is collected here: the time to load a file follows its size.
class IniDictionary {
public:
    /// Loads a file, whose time grows with the square of its size. @return whether it was loaded; errors are
    /// logged.
    bool loadWhole(const char* path);
    /// Loads a file of any size. @param path  of the file, for log lines. @return as loadWhole().
    bool loadPieces(const char* path, std::string_view content);

    /// The value of @p key, "section:key" in any case; null if it is absent, and for the name of a section.
    const char* find(std::string_view key) const;
    /// All keys of the section @p name as "section:key" in lower case, in the order of the file. The pointers
    /// last as long as this object.
    Vector<const char*> keysOf(std::string_view name) const;

private:
    using Value = std::optional<std::string>; // the name of a section has none

    bool loadPiece(const char* path, std::string_view content, size_t firstLine);
    void take(const _dictionary_& loaded);

    std::unordered_map<std::string, Value> m_values;
    Vector<const std::string*> m_keys; // in the order of the file; they belong to m_values
};

} // namespace qel::internal
