// PacketField: identifies a field of a packet by its name or by its declaration.
#pragma once

#include <qel/foundation/base/string_id.h>
#include <qel/packet/packet_scheme.h>

#include <string>
#include <string_view>

namespace qel {

/// A field as a parameter: its name, or the Element that PacketScheme::find() returned, which saves the
/// search for the name. Used for parameters only.
/// @owner borrows the text or the Element, which must outlive it, as an argument does until the call returns.
class PacketField {
public:
    /// Identifies a field by name. @param name  null means the empty name.
    PacketField(const char* name) : PacketField(name ? std::string_view(name) : std::string_view()) {}
    /// Identifies a field by name; also accepts a String.
    PacketField(const std::string& name) : PacketField(std::string_view(name)) {}
    /// Identifies a field by name.
    PacketField(const StringId& name) : PacketField(name.view()) {}
    /// Identifies a field by name.
    PacketField(std::string_view name) : m_name(name), m_key(name) {}
    /// Identifies a field by its declaration. An Element of another scheme is harmless but denotes an
    /// arbitrary field.
    PacketField(const PacketScheme::Element& element) : m_element(&element) {}

    /// Returns the name.
    std::string_view name() const { return m_element ? m_element->getName() : m_name; }
    /// Returns the declaration; null if the field is identified by name.
    const PacketScheme::Element* element() const { return m_element; }

private:
    template <typename Self>
    friend class PacketFields;

    std::string_view m_name;
    PacketScheme::Key m_key{{}};
    const PacketScheme::Element* m_element = nullptr;
};

} // namespace qel
