// The index of a stylesheet.
#pragma once

#include <qel/style/css_tree_p.h>
#include <qel/style/style_names_p.h>

#include <span>
#include <vector>

namespace qel::internal {

/// Lists the selectors that can match by their tag or class, and the declarations of each rule by property.
///
/// Its size follows that of the stylesheet: a rule with many selectors and many declarations is not listed
/// for each pair of them. Instead each selector has 64 bits, by which most rules without a property are
/// recognised.
class StyleIndex {
public:
    /// A selector reduced to the number of the name that it requires of each kind, or StyleNames::kNone.
    struct Selector {
        uint32 tag = StyleNames::kNone;
        uint32 id = StyleNames::kNone;
        uint32 className = StyleNames::kNone;
        uint32 pseudoElement = StyleNames::kNone;
        uint32 selector = 0;   ///< index in the stylesheet; a larger one takes precedence
        uint32 rule = 0;       ///< index in the stylesheet
        uint64 properties = 0; ///< the bits of the properties of the rule, see propertyBit()
    };

    /// Indexes @p tree, whose texts must outlive the index.
    explicit StyleIndex(const CssTree& tree);

    /// Returns the numbers of all names.
    const StyleNames& names() const { return m_names; }
    /// Returns the selectors without a class and with the tag @p tag, or without a tag for kNone, in the
    /// order of precedence.
    std::span<const Selector> ofTag(uint32 tag) const { return listAt(m_ofTag, tag); }
    /// Returns the selectors with the class @p className in the order of precedence.
    std::span<const Selector> ofClass(uint32 className) const { return listAt(m_ofClass, className); }
    /// Returns the last declaration of @p property in a rule, or kNoDeclaration.
    uint32 declarationOf(const Selector& selector, uint32 property) const {
        if ((selector.properties & propertyBit(property)) == 0) return kNoDeclaration;
        return findDeclaration(m_ruleProperties[selector.rule], property);
    }

    /// Returned by declarationOf().
    static constexpr uint32 kNoDeclaration = 0xFFFFFFFF;

private:
    struct Property {
        uint32 name;
        uint32 declaration;
    };

    static uint64 propertyBit(uint32 property) { return uint64{1} << property % 64; }
    uint32 findDeclaration(CssRange properties, uint32 name) const;
    uint64 addProperties(const CssTree& tree, CssRange declarations);
    bool reduce(const CssTree& tree, CssRange parts, Selector& out);
    void group(const std::vector<Selector>& selectors);
    std::span<const Selector> listAt(const std::vector<CssRange>& lists, uint32 name) const;

    StyleNames m_names;
    std::vector<CssRange> m_ruleProperties; ///< by rule, ranges of m_properties
    std::vector<Property> m_properties;     ///< sorted by name within a rule
    std::vector<Selector> m_selectors;      ///< grouped
    std::vector<CssRange> m_ofTag;          ///< by name, ranges of m_selectors
    std::vector<CssRange> m_ofClass;        ///< the same for selectors with a class
};

} // namespace qel::internal
