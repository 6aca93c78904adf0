// The parser of stylesheets.
#pragma once

#include <qel/style/css_tokenizer_p.h>
#include <qel/style/css_tree_p.h>

#include <vector>

namespace qel::internal {

/// Parses a stylesheet after CSS Syntax Module Level 3, section 5, in one pass over the tokens. Nested
/// brackets are kept in a list, so that their depth is limited by memory alone.
class CssParser {
public:
    /// @param tree  receives the rules, errors and imports of its text.
    explicit CssParser(CssTree& tree) : m_tree(tree), m_tokenizer(tree.text, tree.errors) {}

    /// Parses the whole text.
    void parse();

private:
    /// A bracket that has not been closed.
    struct OpenBracket {
        CssTokenType closer;
        uint32 offset;
        uint32 value; ///< the value that it belongs to
    };

    CssToken next();
    void putBack(const CssToken& token) { m_putBack = token, m_hasPutBack = true; }
    CssToken nextNonSpace();
    bool open(const CssToken& token, uint32 value = 0);
    bool close(const CssToken& token);
    void reportUnclosed(size_t depth);

    void qualifiedRule(const CssToken& first);
    bool readPrelude(CssToken token);
    void atRule(const CssToken& keyword);
    bool skipAtRule(const CssToken& keyword, bool isNested);
    void skipBlock(const CssToken& bracket);
    void declarations();
    void declaration(const CssToken& name);
    bool endsDeclaration(const CssToken& token) const;
    void readValues();
    void addValue(const CssToken& token);
    void closeValue(uint32 index);
    void cutImportant(CssRange& values);

    CssTree& m_tree;
    CssTokenizer m_tokenizer;
    CssToken m_putBack;
    bool m_hasPutBack = false;
    std::vector<CssToken> m_prelude;
    std::vector<OpenBracket> m_open;
    size_t m_base = 0; ///< the number of open brackets outside of the values that are being read
};

} // namespace qel::internal
