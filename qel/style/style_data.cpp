#include <qel/style/style_data.h>

#include <qel/foundation/base/buffer.h>
#include <qel/foundation/log/message_stream.h>
#include <qel/style/style_cache_p.h>
#include <qel/style/style_sheet_p.h>
#include <qel/style/theme.h>
#include <qel/system/core/system.h>

#include <limits>

namespace qel {

namespace {

using internal::StyleAnswer;
using internal::StyleGetter;
using internal::StyleQuestion;

uint32 g_version = 0;

/// Converts to an integer as a truncation does, limited to its range.
int truncated(float value) {
    constexpr float kLimit = 2147483648.0f;
    if (value >= kLimit) return std::numeric_limits<int>::max();
    if (value <= -kLimit) return std::numeric_limits<int>::min();
    return static_cast<int>(value);
}

/// Returns the pixels of an em.
float emPixels() {
    const Font* const font = Object::system() ? Object::system()->getTheme()->mediumFont() : nullptr;
    return font != nullptr ? static_cast<float>(font->getLineHeight()) : 0.0f;
}

/// Returns the URI of an answer without @p scheme; a NUL follows it.
const char* pathOf(const StyleAnswer& answer, std::string_view scheme) {
    return answer.value->text.data() + scheme.size();
}

} // namespace

/// The stylesheet, null if it is empty, and the answers to earlier questions.
struct StyleData::Private {
    std::unique_ptr<internal::StyleSheet> sheet;
    internal::StyleCache cache;
    StyleAnswer last; ///< the answer to a question that was searched

    /// Answers from this stylesheet and its parents.
    static StyleAnswer search(const StyleData* data, const StyleQuestion& question) {
        for (; data != nullptr; data = data->getParent()) {
            if (!data->m_private->sheet) continue;
            const StyleAnswer answer = data->m_private->sheet->ask(question);
            if (answer.result != StyleAnswer::Result::None) return answer;
        }
        return {};
    }

    /// Answers from the cache, or searches and keeps the answer.
    /// @return valid until the next question.
    static const StyleAnswer& ask(const StyleData* data, const StyleQuestion& question) {
        Private& own = *data->m_private;
        const bool isCached = internal::g_styleSearch == internal::StyleSearch::Cached;
        const StyleAnswer* const known = isCached ? own.cache.find(question, g_version) : nullptr;
        if (known != nullptr) return *known;
        own.last = search(data, question);
        if (isCached) own.cache.store(question, g_version, own.last);
        return own.last;
    }
};

StyleData::StyleData() : m_private(std::make_unique<Private>()) {}
StyleData::~StyleData() = default;

bool StyleData::loadFromMemory(ConstByteSpan text) {
    ++g_version;
    m_private->sheet.reset();
    auto sheet = std::make_unique<internal::StyleSheet>(text);
    if (sheet->logErrors()) return false;
    sheet->logImports();
    m_private->sheet = std::move(sheet);
    return true;
}

bool StyleData::loadFromResource(SmartCStr name) {
    Buffer text;
    return text.loadFromResource(name.c_str(), false) && loadFromMemory(text);
}

void StyleData::setParent(StyleData* parent) {
    for (const StyleData* ancestor = parent; ancestor != nullptr; ancestor = ancestor->getParent()) {
        if (ancestor != this) continue;
        logging::warning() << "a stylesheet cannot be its own ancestor";
        return;
    }
    ++g_version;
    m_parent = parent;
}

uint32 StyleData::getVersion() {
    return g_version;
}

bool StyleData::getColor(IVec4<float>& out, const ClassChain& classChain, const char* property,
                         const char* id, const char* pseudoElement, const char* className) {
    const StyleAnswer& answer =
        Private::ask(this, {StyleGetter::Color, classChain, property, id, pseudoElement, className});
    if (answer.result == StyleAnswer::Result::Found) out = answer.color;
    return answer.result != StyleAnswer::Result::None;
}

bool StyleData::getPixelLength(int& out, const ClassChain& classChain, const char* property, const char* id,
                               const char* pseudoElement, const char* className) {
    const StyleAnswer& answer =
        Private::ask(this, {StyleGetter::PixelLength, classChain, property, id, pseudoElement, className});
    if (answer.result == StyleAnswer::Result::None) return false;
    const internal::CssValue& length = *answer.value;
    out = truncated(length.unit == StyleUnit::Ems ? length.number * emPixels() : length.number);
    return true;
}

bool StyleData::getSprite(Sprite*& out, const ClassChain& classChain, const char* property, const char* id,
                          const char* pseudoElement, const char* className) {
    const StyleAnswer& answer =
        Private::ask(this, {StyleGetter::Sprite, classChain, property, id, pseudoElement, className});
    if (answer.result == StyleAnswer::Result::None) return false;
    out = system()->getSprite(pathOf(answer, internal::kSpriteScheme));
    return true;
}

bool StyleData::getTranslation(String& out, const ClassChain& classChain, const char* property,
                               const char* id, const char* pseudoElement, const char* className) {
    const StyleAnswer& answer =
        Private::ask(this, {StyleGetter::Translation, classChain, property, id, pseudoElement, className});
    if (answer.result == StyleAnswer::Result::None) return false;
    const String key(pathOf(answer, internal::kTranslationScheme)); // a provider may replace the stylesheet
    out = tr(key.c_str());
    return true;
}

bool StyleData::getUrl(String& out, const ClassChain& classChain, const char* property, const char* id,
                       const char* pseudoElement, const char* className) {
    const StyleAnswer& answer =
        Private::ask(this, {StyleGetter::Url, classChain, property, id, pseudoElement, className});
    if (answer.result == StyleAnswer::Result::None) return false;
    out = answer.value->text;
    return true;
}

} // namespace qel
