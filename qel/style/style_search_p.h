// The two ways to search a stylesheet, with equal results: the plain one, which defines them, and the one
// through the index.
#pragma once

#include <qel/style/style_index_p.h>
#include <qel/style/style_question_p.h>

#include <cstring>

namespace qel::internal {

/// The selector before the first one: the search has passed all of them.
inline constexpr int64 kPassedAll = -1;

/// Returns true if @p name is the text @p asked, which may be null.
inline bool isStyleName(std::string_view name, const char* asked) {
    return asked != nullptr && name == asked;
}

/// Returns true if a selector matches.
inline bool matchesPlainly(const CssTree& tree, CssRange parts, const StyleQuestion& question,
                           const char* tag) {
    bool hasClass = false;
    for (uint32 i = parts.begin; i < parts.end; ++i) {
        const CssPart& part = tree.parts[i];
        bool matches = false;
        switch (part.type) {
        case StyleMatchType::Tag:
            matches = isStyleName(part.name, tag);
            break;
        case StyleMatchType::Id:
            matches = isStyleName(part.name, question.id);
            break;
        case StyleMatchType::Class:
            hasClass = true;
            matches = isStyleName(part.name, question.className);
            break;
        case StyleMatchType::PseudoElement:
            matches = isStyleName(part.name, question.pseudoElement);
            break;
        default:
            break;
        }
        if (!matches) return false;
    }
    return hasClass == (question.className != nullptr);
}

/// Returns the last declaration of @p property in a rule, or null.
inline CssDeclaration* lastDeclaration(CssTree& tree, const CssRule& rule, const char* property) {
    for (uint32 i = rule.declarations.end; i > rule.declarations.begin; --i) {
        if (isStyleName(tree.declarations[i - 1].property, property)) return &tree.declarations[i - 1];
    }
    return nullptr;
}

/// Searches rule by rule.
/// @param pass  called with the index of a matching selector, after which all others have been passed, and
///              with kPassedAll.
/// @param read  called for each declaration that matches, in the order of precedence, until it returns true.
/// @return true if @p read did.
template <typename Pass, typename Read>
bool searchPlainly(CssTree& tree, const StyleQuestion& question, const Pass& pass, const Read& read) {
    for (size_t name = question.countClasses(); name > 0; --name) {
        for (size_t r = tree.rules.size(); r > 0; --r) {
            const CssRule& rule = tree.rules[r - 1];
            for (uint32 s = rule.selectors.end; s > rule.selectors.begin; --s) {
                if (!matchesPlainly(tree, tree.selectors[s - 1], question, question.classChain[name - 1]))
                    continue;
                CssDeclaration* const declaration = lastDeclaration(tree, rule, question.property);
                if (declaration == nullptr) continue;
                pass(int64{s} - 1);
                if (read(*declaration)) return true;
            }
        }
        pass(kPassedAll);
    }
    return false;
}

/// The search through the index, with the numbers of the names in a question.
class IndexedStyleSearch {
public:
    IndexedStyleSearch(CssTree& tree, const StyleIndex& index, const StyleQuestion& question)
        : m_tree(tree),
          m_index(index),
          m_question(question),
          m_property(numberOf(question.property)),
          m_id(numberOf(question.id)),
          m_pseudoElement(numberOf(question.pseudoElement)) {}

    /// Searches with the result and the calls of searchPlainly(). A declaration without a tag is read once,
    /// not again for each class.
    template <typename Pass, typename Read>
    bool run(const Pass& pass, const Read& read) const {
        const size_t classes = m_question.countClasses();
        const bool isKnown = m_property != StyleNames::kUnknown;
        for (size_t name = classes; name > 0 && isKnown; --name) {
            const uint32 tag = numberOf(m_question.classChain[name - 1]);
            const bool isFirst = name == classes;
            if (m_question.className != nullptr) {
                if (readLists(m_index.ofClass(numberOf(m_question.className)), {}, tag, isFirst, pass, read))
                    return true;
            } else if (readLists(m_index.ofTag(tag),
                                 isFirst ? m_index.ofTag(StyleNames::kNone)
                                         : std::span<const StyleIndex::Selector>(),
                                 tag, isFirst, pass, read)) {
                return true;
            }
            pass(kPassedAll);
        }
        if (classes > 0) pass(kPassedAll);
        return false;
    }

private:
    uint32 numberOf(const char* name) const {
        return name != nullptr ? m_index.names().find(name) : StyleNames::kUnknown;
    }

    /// Reads the declarations of two lists, which are merged by precedence.
    template <typename Pass, typename Read>
    bool readLists(std::span<const StyleIndex::Selector> a, std::span<const StyleIndex::Selector> b,
                   uint32 tag, bool withoutTag, const Pass& pass, const Read& read) const {
        while (!a.empty() || !b.empty()) {
            auto& list = b.empty() || (!a.empty() && a.front().selector > b.front().selector) ? a : b;
            const StyleIndex::Selector& selector = list.front();
            list = list.subspan(1);
            const uint32 declaration = m_index.declarationOf(selector, m_property);
            if (declaration == StyleIndex::kNoDeclaration || !matches(selector, tag, withoutTag)) continue;
            pass(int64{selector.selector});
            if (read(m_tree.declarations[declaration])) return true;
        }
        return false;
    }

    bool matches(const StyleIndex::Selector& selector, uint32 tag, bool withoutTag) const {
        const bool hasTag = selector.tag == StyleNames::kNone ? withoutTag : selector.tag == tag;
        return hasTag && (selector.id == StyleNames::kNone || selector.id == m_id) &&
               (selector.pseudoElement == StyleNames::kNone || selector.pseudoElement == m_pseudoElement);
    }

    CssTree& m_tree;
    const StyleIndex& m_index;
    const StyleQuestion& m_question;
    uint32 m_property;
    uint32 m_id;
    uint32 m_pseudoElement;
};

} // namespace qel::internal
