// Reads INI files.
#pragma once

#include <qel/foundation/base/object.h>
#include <qel/foundation/base/smart_cstr.h>
#include <qel/foundation/base/string.h>
#include <qel/platform/api.h>

#include <memory>

namespace qel {

class Item;

namespace internal {
class IniDictionary;
}

/// The content of an INI file, read once. A key has the form "section:key" and is not case-sensitive.
/// || Each accessor leaves its output unchanged when it returns false, and returns false for every key if the
/// file could not be loaded. A number is read as far as the text is valid, in the same way under every
/// locale: text that does not begin with a number is read as 0. Numbers out of range become the nearest one
/// in range.
/// @threads an object is used by one thread at a time.
class QEL_API INIParser : public Object {
    QEL_CLASS(INIParser, Object)

public:
    /// Files above this size, in bytes, are not loaded.
    static constexpr uint64 kMaxFileSize = 4 * 1024 * 1024;

    /// Loads the file in a time that is linear in its size. A missing file is not an error.
    /// @errors logged: a file that cannot be read, is too large, is not a plain file, or has a syntax error.
    explicit INIParser(const char* path);
    ~INIParser() override;

    /// Returns true if the file was loaded.
    bool isValid() const { return m_dictionary != nullptr; }

    /// Reads the string of @p key.
    bool getString(SmartCStr key, String& value) const;
    /// Reads a string that begins, in either case, with "y", "t" or "1" as true and with "n", "f" or "0" as
    /// false; any other is treated as absent.
    bool getBoolean(SmartCStr key, bool& value) const;
    /// Reads a number.
    bool getFloat(SmartCStr key, float& value) const;
    /// Reads a number.
    bool getFloat(SmartCStr key, double& value) const;
    /// Reads a number; if the key is absent, @p value becomes @p fallback, rounded to six decimal digits.
    /// @return true for an absent key.
    bool getFloat(SmartCStr key, float& value, float fallback) const;
    /// Reads a number; if the key is absent, @p value becomes @p fallback, rounded to six decimal digits.
    /// @return true for an absent key.
    bool getFloat(SmartCStr key, double& value, double fallback) const;
    /// Reads an integer; the prefix "0x" means base 16, "0" base 8.
    bool getInteger(SmartCStr key, int& value) const;
    /// Reads an integer as the form without fallback; if the key is absent, @p value becomes @p fallback.
    /// @return true for an absent key.
    bool getInteger(SmartCStr key, int& value, int fallback) const;
    /// Reads an integer as the form without fallback; if the key is absent, @p value becomes @p fallback.
    /// @return true for an absent key.
    bool getInteger(SmartCStr key, unsigned& value, unsigned fallback) const;
    /// Returns true if @p key exists and its text, read as an integer, is not -1.
    bool hasEntry(SmartCStr key) const;
    /// Appends to @p item, for each key of the section @p name, its name as a String and its value as an
    /// integer. The keys are always those of the section "test", and each name starts at the character after
    /// the length of @p name plus 1: only for "test" do they belong to the requested section.
    /// @return false for a section without keys, or if "test" has fewer keys.
    bool getSection(SmartCStr name, Item& item) const;

private:
    const char* find(SmartCStr key) const;

    std::unique_ptr<internal::IniDictionary> m_dictionary;
};

} // namespace qel
