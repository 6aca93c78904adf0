#include <qel/foundation/base/string.h>

#include <qel/foundation/base/object.h>
#include <qel/foundation/locale/markup_expansion.h>
#include <qel/foundation/locale/translation_p.h>
#include <qel/foundation/log/message_stream.h>
#include <qel/system/core/system.h>

#include <string_view>
#include <unordered_map>

namespace qel {

namespace {

using internal::TranslationSource;

constexpr std::string_view kOpening = "{tr:";

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
        return m_pieces <= internal::kMaximumExpansions && m_bytes <= internal::kMaximumTranslatedBytes;
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
    size_t copied = 0;
    internal::CodeRange piece;
    while (internal::findCode(text, kOpening, copied, piece)) {
        const size_t keyBegin = piece.begin + kOpening.size();
        const Found& found = find(text.substr(keyBegin, piece.end - 1 - keyBegin));
        m_pieces++;
        m_bytes += found.text.size();
        if (!isWithinLimits()) {
            logging::error() << "[TR] text with more than " << internal::kMaximumExpansions
                             << " translated pieces or " << internal::kMaximumTranslatedBytes
                             << " bytes of them; the rest is not translated";
            return false;
        }
        result.append(text, copied, piece.begin - copied);
        result += found.text;
        copied = piece.end;
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
