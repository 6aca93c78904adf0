#include <qel/style/style_index_p.h>

#include <algorithm>

namespace qel::internal {

namespace {

/// Requires the name @p number in @p slot. @return false if the slot requires another one already.
bool require(uint32& slot, uint32 number) {
    if (slot != StyleNames::kNone && slot != number) return false;
    slot = number;
    return true;
}

} // namespace

StyleIndex::StyleIndex(const CssTree& tree) {
    std::vector<Selector> selectors;
    selectors.reserve(tree.selectors.size());
    for (uint32 rule = 0; rule < cssIndex(tree.rules); ++rule) {
        const uint64 properties = addProperties(tree, tree.rules[rule].declarations);
        const CssRange range = tree.rules[rule].selectors;
        for (uint32 i = range.begin; i < range.end; ++i) {
            Selector selector;
            selector.selector = i;
            selector.rule = rule;
            selector.properties = properties;
            if (properties != 0 && reduce(tree, tree.selectors[i], selector)) selectors.push_back(selector);
        }
    }
    group(selectors);
}

/// Lists the properties of a rule. @return their bits.
uint64 StyleIndex::addProperties(const CssTree& tree, CssRange declarations) {
    const size_t begin = m_properties.size();
    uint64 bits = 0;
    for (uint32 i = declarations.begin; i < declarations.end; ++i) {
        m_properties.push_back({m_names.add(tree.declarations[i].property), i});
        bits |= propertyBit(m_properties.back().name);
    }
    const auto first = m_properties.begin() + static_cast<std::ptrdiff_t>(begin);
    std::sort(first, m_properties.end(), [](const Property& a, const Property& b) {
        return a.name != b.name ? a.name < b.name : a.declaration > b.declaration;
    });
    const auto isSame = [](const Property& a, const Property& b) { return a.name == b.name; };
    m_properties.erase(std::unique(first, m_properties.end(), isSame), m_properties.end());
    m_ruleProperties.push_back({static_cast<uint32>(begin), cssIndex(m_properties)});
    return bits;
}

/// Turns the parts of a selector into required names. @return false if it never matches.
bool StyleIndex::reduce(const CssTree& tree, CssRange parts, Selector& out) {
    for (uint32 i = parts.begin; i < parts.end; ++i) {
        const CssPart& part = tree.parts[i];
        uint32* slot = nullptr;
        switch (part.type) {
        case StyleMatchType::Tag:
            slot = &out.tag;
            break;
        case StyleMatchType::Id:
            slot = &out.id;
            break;
        case StyleMatchType::Class:
            slot = &out.className;
            break;
        case StyleMatchType::PseudoElement:
            slot = &out.pseudoElement;
            break;
        default:
            return false;
        }
        if (!require(*slot, m_names.add(part.name))) return false;
    }
    return true;
}

/// Sorts the selectors into the lists of their class or tag by counting.
void StyleIndex::group(const std::vector<Selector>& selectors) {
    m_ofTag.resize(size_t{m_names.size()} + 1);
    m_ofClass.resize(size_t{m_names.size()} + 1);
    const auto listOf = [this](const Selector& selector) -> CssRange& {
        return selector.className != StyleNames::kNone ? m_ofClass[selector.className]
                                                       : m_ofTag[selector.tag];
    };
    for (const Selector& selector : selectors) ++listOf(selector).end;
    uint32 begin = 0;
    for (std::vector<CssRange>* lists : {&m_ofTag, &m_ofClass}) {
        for (CssRange& list : *lists) {
            const uint32 count = list.end;
            list = {begin, begin};
            begin += count;
        }
    }
    m_selectors.resize(selectors.size());
    for (auto i = selectors.rbegin(); i != selectors.rend(); ++i) m_selectors[listOf(*i).end++] = *i;
}

std::span<const StyleIndex::Selector> StyleIndex::listAt(const std::vector<CssRange>& lists,
                                                         uint32 name) const {
    if (name >= lists.size()) return {};
    return std::span(m_selectors).subspan(lists[name].begin, lists[name].end - lists[name].begin);
}

uint32 StyleIndex::findDeclaration(CssRange properties, uint32 name) const {
    const auto begin = m_properties.begin() + properties.begin;
    const auto end = m_properties.begin() + properties.end;
    const auto found = std::lower_bound(
        begin, end, name, [](const Property& property, uint32 wanted) { return property.name < wanted; });
    return found != end && found->name == name ? found->declaration : kNoDeclaration;
}

} // namespace qel::internal
