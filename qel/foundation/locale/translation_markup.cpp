#include <qel/foundation/base/string.h>

#include <qel/foundation/base/object.h>
#include <qel/foundation/locale/translation_p.h>
#include <qel/foundation/log/message_stream.h>
#include <qel/system/core/system.h>

#include <string_view>
#include <unordered_map>

namespace qel {

namespace {

using internal::TranslationSource;

constexpr std::string_view kOpening = "{tr:";

// Finds the next piece "{tr:KEY}" at or after `position`: the shortest match, within one line. If a line ends
// before a piece does, all openings before that line end are skipped, so each byte is read at most twice.
bool findPiece(std::string_view text, size_t position, size_t& begin, size_t& end) {
    for (;;) {
        begin = text.find(kOpening, position);
        if (begin == text.npos) return false;
        end = text.find_first_of("}\n\r", begin + kOpening.size());
        if (end == text.npos) return false;
        if (text[end++] == '}') return true;
        position = end;
    }
}

// Replaces the pieces of a text round by round and counts what it has inserted.
class PieceReplacer {
public:
    explicit PieceReplacer(SmartCStr language) : m_language(language) {}

    /// Replaces all pieces in `text`. @return true if there were any and all of them were replaced.
    bool replaceRound(String& text);

private:
    struct Found {
        String text;
        TranslationSource source;
    };

    const Found& find(const String& key);
    bool isWithinLimits() const {
        return m_pieces <= internal::kMaximumTranslatedPieces && m_bytes <= internal::kMaximumTranslatedBytes;
    }

    const String m_language;
    std::unordered_map<std::string, Found> m_found; // each key is read once, but warned about every time
    size_t m_pieces = 0;
    size_t m_bytes = 0;
};

const PieceReplacer::Found& PieceReplacer::find(const String& key) {
    const auto [place, isNew] = m_found.try_emplace(key);
    Found& found = place->second;
    if (isNew) found.source = internal::findTranslation(m_language, key, found.text);
    internal::warnOfMissingTranslation(found.source, m_language, key);
    return found;
}

bool PieceReplacer::replaceRound(String& text) {
    String result;
    size_t copied = 0, begin = 0, end = 0;
    while (findPiece(text, copied, begin, end)) {
        const size_t keyBegin = begin + kOpening.size();
        const Found& found = find(text.substr(keyBegin, end - 1 - keyBegin));
        m_pieces++;
        m_bytes += found.text.size();
        if (!isWithinLimits()) {
            logging::error() << "[TR] text with more than " << internal::kMaximumTranslatedPieces
                             << " translated pieces or " << internal::kMaximumTranslatedBytes
                             << " bytes of them; the rest is not translated";
            return false;
        }
        result.append(text, copied, begin - copied);
        result += found.text;
        copied = end;
    }
    if (copied == 0) return false;
    result.append(text, copied);
    text.swap(result);
    return true;
}

} // namespace

String String::applyTrOnlyControlCodes(const char* language) const {
    constexpr int kRounds = 16;
    String result = *this;
    if (find(kOpening) == npos) return result;
    const System* system = Object::system();
    PieceReplacer replacer(language || !system ? SmartCStr(language) : SmartCStr(system->getLanguage()));
    for (int round = 0; round < kRounds && replacer.replaceRound(result); round++) {
    }
    return result;
}

} // namespace qel
