#include <qel/style/style_sheet_p.h>

#include <qel/foundation/log/message_stream.h>
#include <qel/style/style_search_p.h>

namespace qel::internal {

namespace {

/// The number of unhandled rules and matches of a sheet that are logged.
constexpr size_t kMaxWarnings = 100;

} // namespace

StyleSearch g_styleSearch = StyleSearch::Cached;

StyleSheet::StyleSheet(ConstByteSpan text) : m_tree(text), m_index(m_tree) {
    listUnhandled();
}

bool StyleSheet::logErrors() {
    if (m_tree.errors.size() == 0) return false;
    logging::error() << "css parse errors:";
    CssPlaces places(m_tree.text.source());
    size_t number = 0;
    for (const CssErrors::Error& error : m_tree.errors.sort())
        logging::error() << number++ << ": " << places.describe(error.offset) << ": " << error.message;
    return true;
}

void StyleSheet::logImports() {
    CssPlaces places(m_tree.text.source());
    for (const uint32 offset : m_tree.imports)
        logging::warning() << "css imports not yet supported: " << places.describe(offset);
}

StyleAnswer StyleSheet::ask(const StyleQuestion& question) {
    StyleAnswer answer;
    const auto pass = [this](int64 selector) { warnAfter(selector); };
    const auto read = [&](CssDeclaration& declaration) {
        answer = readStyle(question.getter, m_tree, declaration);
        return answer.result != StyleAnswer::Result::None;
    };
    if (g_styleSearch == StyleSearch::Plain) {
        searchPlainly(m_tree, question, pass, read);
    } else {
        IndexedStyleSearch(m_tree, m_index, question).run(pass, read);
    }
    return answer;
}

void StyleSheet::listUnhandled() {
    for (const CssRule& rule : m_tree.rules) {
        if (rule.type != StyleRuleType::Style)
            m_unhandled.push_back({rule.selectors.begin, true, static_cast<int>(rule.type)});
        for (uint32 s = rule.selectors.begin; s < rule.selectors.end; ++s) {
            for (uint32 p = m_tree.selectors[s].begin; p < m_tree.selectors[s].end; ++p) {
                const StyleMatchType type = m_tree.parts[p].type;
                if (type >= StyleMatchType::Universal)
                    m_unhandled.push_back({s, false, static_cast<int>(type)});
            }
        }
    }
}

/// Logs what a search has passed on its way from the end of the sheet to @p selector.
void StyleSheet::warnAfter(int64 selector) {
    while (!m_unhandled.empty() && int64{m_unhandled.back().position} > selector) {
        const Unhandled passed = m_unhandled.back();
        m_unhandled.pop_back();
        if (m_warnings++ >= kMaxWarnings) continue;
        logging::warning() << (passed.isRule ? "Unhandled rule: " : "Unhandled match: ") << passed.type;
    }
}

} // namespace qel::internal
