// The parser of selectors.
#pragma once

#include <qel/style/css_tokenizer_p.h>
#include <qel/style/css_tree_p.h>

#include <span>

namespace qel::internal {

/// Parses the selectors of a style rule, separated by commas, after Selectors Level 4.
class CssSelectorParser {
public:
    /// @param tokens  the tokens before the block, with balanced brackets.
    /// @param end     the offset of the block.
    /// @param tree    receives the selectors and an error if the tokens are not a list of selectors.
    CssSelectorParser(std::span<const CssToken> tokens, uint32 end, CssTree& tree)
        : m_tokens(tokens), m_tree(tree), m_end(end) {}

    /// Adds the selectors to the tree. @return false if there is an error.
    bool parse();

private:
    const CssToken& peek(size_t ahead = 0) const;
    bool skip(CssTokenType type);
    bool skipDelim(char c);
    void add(StyleMatchType type, std::string_view name);
    bool selector();
    bool combinator();
    bool compound();
    bool typeSelector();
    bool condition();
    bool pseudo();
    bool attribute();
    void skipArguments();
    bool fail();

    std::span<const CssToken> m_tokens;
    CssTree& m_tree;
    uint32 m_end;
    size_t m_position = 0;
};

} // namespace qel::internal
