// A parsed stylesheet as flat lists.
#pragma once

#include <qel/foundation/base/byte_span.h>
#include <qel/foundation/base/types.h>
#include <qel/style/css_errors_p.h>
#include <qel/style/css_text_p.h>
#include <qel/style/style_kinds.h>

#include <string_view>
#include <vector>

namespace qel::internal {

/// The half-open range [begin, end) of one of the lists of a CssTree.
struct CssRange {
    uint32 begin = 0;
    uint32 end = 0;
};

/// A condition of a selector.
struct CssPart {
    StyleMatchType type;
    std::string_view name;
};

/// A value of a declaration or an argument of a function.
struct CssValue {
    StyleUnit unit;
    float number;          ///< of a number, percentage or length
    uint32 end;            ///< index of the value after this one and all values inside it
    std::string_view text; ///< a word, the content of a string, hash or URI (a NUL follows that of a URI), a
                           ///< function's name with "(", a bracket, an operator or an unusual unit
};

/// A property and its values.
struct CssDeclaration {
    std::string_view property;
    CssRange values;
    bool isReportedAsColor = false;  ///< a question for a colour has logged why the value is unusable
    bool isReportedAsLength = false; ///< a question for a length has
};

/// A rule. The ranges of all but style rules are empty and lie between those of their neighbours.
struct CssRule {
    StyleRuleType type;
    CssRange selectors;
    CssRange declarations;
};

/// A stylesheet. All texts are views into its CssText.
struct CssTree {
    /// Parses a stylesheet. The lists are incomplete if there are errors.
    explicit CssTree(ConstByteSpan bytes);

    /// At most this number of imports is kept.
    static constexpr size_t kMaxImports = 100;
    /// A larger stylesheet is an error.
    static constexpr size_t kMaxBytes = 16 << 20;

    CssText text;
    CssErrors errors;
    std::vector<uint32> imports; ///< offsets of the import rules
    std::vector<CssRule> rules;
    std::vector<CssRange> selectors; ///< ranges of parts
    std::vector<CssPart> parts;
    std::vector<CssDeclaration> declarations;
    std::vector<CssValue> values;
};

/// Returns the length of a list as an index.
template <typename T>
uint32 cssIndex(const std::vector<T>& list) {
    return static_cast<uint32>(list.size());
}

} // namespace qel::internal
