#include <qel/files/ini_dictionary_p.h>

#include <qel/files/whole_io_p.h>
#include <qel/foundation/base/mutex.h>
#include <qel/foundation/base/number_format.h>
#include <qel/foundation/base/write_whole.h>
#include <qel/foundation/log/message_stream.h>
#include <qel/platform/c_locale.h>
#include <qel/platform/memory_file.h>

#include <algorithm>

#include <fmt/format.h>
#include <iniparser.h>

namespace qel::internal {

namespace {

constexpr size_t kPieceSize = 8 * 1024; // a piece ends at the first suitable line after this size

Mutex g_libraryMutex; // guards the library's only error callback
Vector<String>* g_libraryErrors QEL_GUARDED_BY(g_libraryMutex) = nullptr;

using Loaded = std::unique_ptr<dictionary, decltype(&iniparser_freedict)>;

// Called only within loadByLibrary(), under its lock.
QEL_NO_THREAD_ANALYSIS int keepLibraryError(const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    g_libraryErrors->push_back(util::stringFormat_valist(format, arguments));
    va_end(arguments);
    return 0;
}

// The library converts keys to lower case by the locale. Errors are returned, because log listeners may load
// files too.
Loaded loadByLibrary(const char* path, Vector<String>& errors) {
    const platform::CLocaleScope plainLetters;
    const MutexLock lock(g_libraryMutex);
    g_libraryErrors = &errors;
    iniparser_set_error_callback(keepLibraryError);
    Loaded loaded(iniparser_load(path), &iniparser_freedict);
    iniparser_set_error_callback(nullptr);
    return loaded;
}

std::string lowered(std::string_view text) {
    std::string result(text);
    for (char& c : result)
        if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
    return result;
}

std::string_view trimmed(std::string_view text) {
    constexpr std::string_view kSpaces = " \t\n\v\f\r";
    const size_t begin = text.find_first_not_of(kSpaces);
    if (begin == text.npos) return {};
    return text.substr(begin, text.find_last_not_of(kSpaces) - begin + 1);
}

// Iterates over the lines of a file. A line that ends with a backslash continues on the next line.
class LineWalk {
public:
    explicit LineWalk(std::string_view content) : m_content(content) {}

    bool isAtEnd() const { return m_position == m_content.size(); }
    size_t position() const { return m_position; }
    size_t lineNumber() const { return m_lineNumber; }
    /// Returns the line that names the current section; empty before the first one.
    const std::string& header() const { return m_header; }

    /// Moves to the next line that does not continue another.
    void next() {
        std::string whole;
        bool continues = false;
        do {
            const size_t end = std::min(m_content.find('\n', m_position), m_content.size() - 1) + 1;
            whole += m_content.substr(m_position, end - m_position);
            whole = trimmed(whole);
            continues = whole.ends_with('\\');
            if (continues) whole.pop_back();
            m_position = end;
            ++m_lineNumber;
        } while (continues && !isAtEnd());
        if (whole.starts_with('[') && whole.ends_with(']')) m_header = whole;
    }

private:
    std::string_view m_content;
    std::string m_header;
    size_t m_position = 0;
    size_t m_lineNumber = 1;
};

} // namespace

bool IniDictionary::loadWhole(const char* path) {
    Vector<String> errors;
    const Loaded loaded = loadByLibrary(path, errors);
    for (const String& error : errors) logging::error() << error;
    if (loaded) take(*loaded);
    return loaded != nullptr;
}

bool IniDictionary::loadPieces(const char* path, std::string_view content) {
    LineWalk walk(content);
    while (!walk.isAtEnd()) {
        const size_t begin = walk.position(), firstLine = walk.lineNumber();
        std::string piece(walk.header()); // the section that continues
        if (!piece.empty()) piece += '\n';
        while (!walk.isAtEnd() && walk.position() - begin < kPieceSize) walk.next();
        piece += content.substr(begin, walk.position() - begin);
        if (!loadPiece(path, piece, firstLine)) return false;
    }
    return true;
}

bool IniDictionary::loadPiece(const char* path, std::string_view content, size_t firstLine) {
    FileHandle file;
    std::string memoryPath;
    FileError error = platform::createMemoryFile(file, memoryPath);
    if (!error) error = writeWhole(file, content);
    if (error) {
        logging::error() << "cant read ini file '" << path << "'" << describe(error);
        return false;
    }
    Vector<String> errors;
    const Loaded loaded = loadByLibrary(memoryPath.c_str(), errors);
    for (String text : errors) {
        const size_t at = text.find(memoryPath);
        if (at != text.npos)
            text.replace(at, memoryPath.size(), fmt::format("{} from line {} on", path, firstLine));
        logging::error() << text;
    }
    if (loaded) take(*loaded);
    return loaded != nullptr;
}

void IniDictionary::take(const dictionary& loaded) {
    for (ssize_t i = 0; i < loaded.size; ++i) {
        if (!loaded.key[i]) continue;
        const auto [entry, isNew] = m_values.try_emplace(loaded.key[i]);
        if (isNew) m_keys.push_back(&entry->first);
        entry->second = loaded.val[i] ? Value(loaded.val[i]) : std::nullopt;
    }
}

const char* IniDictionary::find(std::string_view key) const {
    const auto entry = m_values.find(lowered(key));
    return entry == m_values.end() || !entry->second ? nullptr : entry->second->c_str();
}

Vector<const char*> IniDictionary::keysOf(std::string_view name) const {
    Vector<const char*> keys;
    const std::string section = lowered(name);
    if (!m_values.contains(section)) return keys;
    for (const std::string* key : m_keys)
        if (key->starts_with(section) && key->c_str()[section.size()] == ':') keys.push_back(key->c_str());
    return keys;
}

} // namespace qel::internal
