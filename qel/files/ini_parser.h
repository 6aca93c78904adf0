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

/// The content of an INI file, read once. A key has the form "section:key"; case does not count.
///
/// Each accessor leaves its output as it was when it returns false, and returns false for every key when the
/// file could not be loaded. Numbers are read as far as they go, the same under every locale: text that does
/// not begin with one reads as 0. Numbers out of range become the nearest one in range.
/// @threads an object is used by one thread at a time.
class QEL_API INIParser : public Object {
    QEL_CLASS(INIParser, Object)

public:
    /// Files above this size, in bytes, are not loaded.
    static constexpr uint64 kMaxFileSize = 4 * 1024 * 1024;

    /// Loads the file, in a time that follows its size. A missing file is not an error.
    /// @errors logged: a file that can't be read, is too large, is not a plain file, or breaks the format.
    explicit INIParser(const char* path);
    ~INIParser() override;

    /// Whether the file was loaded.
    bool isValid() const { return m_dictionary != nullptr; }

    /// Reads the text of @p key.
    bool getString(SmartCStr key, String& value) const;
    /// Reads a text that begins, in either case, with "y", "t" or "1" as true and with "n", "f" or "0" as
    /// false; any other counts as absent.
    bool getBoolean(SmartCStr key, bool& value) const;
    /// Reads a number.
    bool getFloat(SmartCStr key, float& value) const;
    /// Reads a number.
    bool getFloat(SmartCStr key, double& value) const;
    /// Reads a number; an absent key gives @p fallback, rounded to six decimal digits, and true.
    bool getFloat(SmartCStr key, float& value, float fallback) const;
    /// Reads a number; an absent key gives @p fallback, rounded to six decimal digits, and true.
    bool getFloat(SmartCStr key, double& value, double fallback) const;
    /// Reads a whole number; "0x" before it means base 16, "0" base 8.
    bool getInteger(SmartCStr key, int& value) const;
    /// Reads a whole number as the form without fallback; an absent key gives @p fallback and true.
    bool getInteger(SmartCStr key, int& value, int fallback) const;
    /// Reads a whole number as the form without fallback; an absent key gives @p fallback and true.
    bool getInteger(SmartCStr key, unsigned& value, unsigned fallback) const;
    /// Whether @p key is there and its text, read as a whole number, isn't -1.
    bool hasEntry(SmartCStr key) const;
    /// Appends to @p item, for each key of the section @p name, its name as a String and its value as a whole
    /// number. The keys are always those of the section "test", from as many characters on as @p name has,
    /// and 1: only for "test" do they belong to the section asked for.
    /// @return false for a section without keys, or when "test" doesn't have as many.
    bool getSection(SmartCStr name, Item& item) const;

private:
    const char* find(SmartCStr key) const;

    std::unique_ptr<internal::IniDictionary> m_dictionary;
};

} // namespace qel
