#include <qel/foundation/base/string.h>

#include <fribidi.h>

#include <algorithm>
#include <limits>

namespace qel {
namespace {

constexpr int kHoldsRightToLeft = 2;
constexpr int kBeginsRightToLeft = 1;
constexpr uint32 kFirstRightToLeft = 0x590; // no code point below is or makes text right-to-left

/// Works on one paragraph at a time, since the levels of one don't depend on the next.
class BidiAnalysis {
public:
    explicit BidiAnalysis(const Vector<uint32>& text)
        : m_text(text), m_types(text.size()), m_brackets(text.size()) {
        const auto size = static_cast<FriBidiStrIndex>(text.size());
        fribidi_get_bidi_types(text.data(), size, m_types.data());
        fribidi_get_bracket_types(text.data(), size, m_types.data(), m_brackets.data());
    }

    int flags() {
        int flags = 0;
        for (std::size_t begin = 0; begin < m_text.size();) {
            const auto separator =
                std::find(m_types.begin() + std::ptrdiff_t(begin), m_types.end(), FRIBIDI_TYPE_BS);
            const auto last = separator == m_types.end() ? separator : separator + 1;
            const auto end = static_cast<std::size_t>(last - m_types.begin());
            flags |= flagsOfParagraph(begin, end);
            begin = end;
        }
        return flags;
    }

private:
    int flagsOfParagraph(std::size_t begin, std::size_t end) {
        Vector<FriBidiLevel> levels(end - begin);
        FriBidiParType base = FRIBIDI_PAR_ON;
        const auto size = static_cast<FriBidiStrIndex>(levels.size());
        if (fribidi_get_par_embedding_levels_ex(m_types.data() + begin, m_brackets.data() + begin, size,
                                                &base, levels.data()) == 0)
            return 0; // out of memory
        const auto isRightToLeft = [](FriBidiLevel level) { return level % 2 == 1; };
        if (std::none_of(levels.begin(), levels.end(), isRightToLeft)) return 0;
        return kHoldsRightToLeft | (begin == 0 && isRightToLeft(levels.front()) ? kBeginsRightToLeft : 0);
    }

    const Vector<uint32>& m_text;
    Vector<FriBidiCharType> m_types;
    Vector<FriBidiBracketType> m_brackets;
};

} // namespace

int String::utf8_rtl_flags() const {
    Vector<uint32> text = utf8_to_unicode();
    const auto canTurn = [](uint32 codePoint) { return codePoint >= kFirstRightToLeft; };
    if (std::none_of(text.begin(), text.end(), canTurn)) return 0;
    constexpr std::size_t kMost = std::numeric_limits<FriBidiStrIndex>::max(); // what the library can count
    text.resize(std::min(text.size(), kMost));
    return BidiAnalysis(text).flags();
}

} // namespace qel
