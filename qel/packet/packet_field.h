// PacketField: names a field of a packet, by its name or by its declaration.
#pragma once

#include <qel/foundation/base/string_id.h>
#include <qel/packet/packet_scheme.h>

#include <string>
#include <string_view>

namespace qel {

/// The field that an operation of Packet is about: its name, or the Element that PacketScheme::find() gave,
/// which saves looking the name up. For parameters alone.
/// @owner borrows; the text or the Element must outlive it, which an argument does until the call returns.
class PacketField {
public:
    /// @param name  null stands for the empty name.
    PacketField(const char* name) : PacketField(name ? std::string_view(name) : std::string_view()) {}
    /// By name; also takes a String.
    PacketField(const std::string& name) : PacketField(std::string_view(name)) {}
    /// By name.
    PacketField(const StringId& name) : PacketField(name.view()) {}
    /// By name.
    PacketField(std::string_view name) : m_name(name), m_key(name) {}
    /// By declaration. An Element of another scheme is harmless, but the field it names is any.
    PacketField(const PacketScheme::Element& element) : m_element(&element) {}

    /// The name.
    std::string_view name() const { return m_element ? m_element->getName() : m_name; }
    /// The declaration, null when the field is given by name.
    const PacketScheme::Element* element() const { return m_element; }

private:
    template <typename Self>
    friend class PacketFields;

    std::string_view m_name;
    PacketScheme::Key m_key{{}};
    const PacketScheme::Element* m_element = nullptr;
};

} // namespace qel
