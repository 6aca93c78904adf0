// PacketFields: the operations that read fields, shared by Packet and PacketView.
#pragma once

#include <qel/foundation/base/buffer.h>
#include <qel/foundation/base/byte_span.h>
#include <qel/foundation/base/string.h>
#include <qel/foundation/base/types.h>
#include <qel/packet/packet_field.h>
#include <qel/packet/packet_scheme.h>
#include <qel/platform/api.h>

#include <cstring>
#include <string_view>
#include <type_traits>

namespace qel {

class Item;
class Packet;
class PacketView;

/// Reads the fields of @p Self, which is Packet or PacketView. A field is named by its name or, which is
/// faster, by its PacketScheme::Element. A name that the scheme does not declare is logged as an error and
/// reads as an empty field, as does every name while there is no scheme.
/// @threads not locked; see @p Self.
template <typename Self>
class PacketFields {
public:
    /// Returns an integer of any declared width, sign-extended or zero-extended; 0 for any other field.
    int64 getInteger(const PacketField& field) const { return getInteger(elementOf(field)); }
    /// @copydoc getInteger(const PacketField&) const
    int64 getInteger(const PacketScheme::Element& element) const {
        const uint8* const bytes = self().staticBytes(element);
        return bytes ? element.integerAt(bytes) : 0;
    }
    /// Returns a float or double; 0 for any other field.
    double getFloat(const PacketField& field) const { return getFloat(elementOf(field)); }
    /// @copydoc getFloat(const PacketField&) const
    double getFloat(const PacketScheme::Element& element) const {
        const uint8* const bytes = self().staticBytes(element);
        return bytes ? element.floatAt(bytes) : 0;
    }
    /// Returns a single value of the declared type; zeros if the field is not a single value of this size.
    template <typename T>
    T get(const PacketField& field) const {
        return get<T>(elementOf(field));
    }
    /// @copydoc get(const PacketField&) const
    template <typename T>
    T get(const PacketScheme::Element& element) const;
    /// Returns element @p index of a field declared with this type; zeros past the last element.
    template <typename T>
    T getAt(const PacketField& field, uint32 index) const;
    /// Returns the number of elements of a field; for a dynamic field, of those that are set.
    uint32 getCount(const PacketField& field) const;
    /// Copies a single value. @return false, with @p value unchanged, if the field is not a single value of
    /// @p size bytes.
    bool singleGetInternal(const PacketField& field, void* value, uint32 size) const;
    /// Returns the elements of a field and stores their number in @p count.
    /// @owner as getBytes(); the elements are only as aligned as the payload is.
    const void* arrayGetInternal(const PacketField& field, uint32& count) const;

    /// Returns the bytes of a field; null data if it is empty.
    /// @owner valid until the field is set or the payload is destroyed.
    ConstByteSpan getBytes(const PacketField& field) const { return getBytes(elementOf(field)); }
    /// @copydoc getBytes(const PacketField&) const
    ConstByteSpan getBytes(const PacketScheme::Element& element) const;
    /// Returns the bytes of a field; null if it is empty. @owner as getBytes().
    const uint8* getBuffer(const PacketField& field) const { return getBytes(field).data; }
    /// Returns the bytes of a field and stores their number in @p size. @owner as getBytes().
    const uint8* getBuffer(const PacketField& field, uint32& size) const;
    /// Copies the bytes of a field to @p out.
    void getBuffer(const PacketField& field, Buffer& out) const { out.set(getBytes(field)); }
    /// Returns the number of bytes of a field.
    uint32 getBufferSize(const PacketField& field) const { return static_cast<uint32>(getBytes(field).size); }
    /// @copydoc getBufferSize(const PacketField&) const
    uint32 getBufferSize(const PacketScheme::Element& element) const {
        return static_cast<uint32>(getBytes(element).size);
    }
    /// Returns a text; "" if the field is empty. @owner as getBytes().
    /// @errors bytes that do not end with a zero are logged as an error, and "" is returned.
    const char* getString(const PacketField& field) const;
    /// Appends the zero-terminated texts of a field to a container; bytes after the last zero are ignored.
    template <typename Container>
    void getStringList(const PacketField& field, Container& out) const;
    /// Returns a view of a field as an Item without a store. @owner as getBytes().
    Item getItem(const PacketField& field) const;
    /// Returns a copy of a field as an Item.
    Item getItemCopy(const PacketField& field) const;

    /// Returns the cargo: the raw bytes after the fields of an unversioned packet. Null without cargo.
    /// @owner valid until the cargo is set or the payload is destroyed.
    const uint8* getCargo() const { return self().cargoBytes().data; }
    /// Returns the number of bytes of the cargo.
    uint32 getCargoSize() const { return static_cast<uint32>(self().cargoBytes().size); }
    /// Returns the cargo as text. @owner as getCargo().
    /// @errors a cargo that is empty or does not end with a zero is logged, and "" is returned.
    const char* getCargoString() const;

protected:
    PacketFields() = default;
    ~PacketFields() = default;

    /// Returns the declaration of @p field; an empty one, after an error, for an unknown field.
    const PacketScheme::Element& elementOf(const PacketField& field) const {
        return field.m_element ? *field.m_element : elementNamed(field);
    }

private:
    const Self& self() const { return static_cast<const Self&>(*this); }
    const PacketScheme::Element& elementNamed(const PacketField& field) const {
        const PacketScheme* const scheme = self().getScheme();
        return scheme ? scheme->lookUp(field.m_key, field.m_name) : reportNoScheme(field.m_name);
    }
    const PacketScheme::Element& reportNoScheme(std::string_view name) const;
};

template <typename Self>
template <typename T>
T PacketFields<Self>::get(const PacketScheme::Element& element) const {
    static_assert(std::is_trivially_copyable_v<T>);
    T value{};
    const uint8* const bytes = self().staticBytes(element);
    if (bytes && element.m_singleSize == sizeof(T)) std::memcpy(&value, bytes, sizeof(T));
    return value;
}

template <typename Self>
template <typename T>
T PacketFields<Self>::getAt(const PacketField& field, uint32 index) const {
    static_assert(std::is_trivially_copyable_v<T>);
    const PacketScheme::Element& element = elementOf(field);
    const ConstByteSpan bytes = getBytes(element);
    T value{};
    if (element.m_elementSize == sizeof(T) && index < bytes.size / sizeof(T))
        std::memcpy(&value, bytes.data + index * sizeof(T), sizeof(T));
    return value;
}

// The compiler would call it, which costs as much as what it does.
template <typename Self>
[[gnu::always_inline]] inline ConstByteSpan
PacketFields<Self>::getBytes(const PacketScheme::Element& element) const {
    const auto index = static_cast<uint32>(element.m_dynamicIndex);
    if (index < self().dynamicCount()) return self().dynamicBytes(index);
    const uint8* const bytes = element.m_fixedCount == 0 ? nullptr : self().staticBytes(element);
    return bytes ? ConstByteSpan(bytes, element.m_end - element.m_offset) : ConstByteSpan();
}

template <typename Self>
template <typename Container>
void PacketFields<Self>::getStringList(const PacketField& field, Container& out) const {
    std::string_view texts = getBytes(field).asText();
    for (size_t end; (end = texts.find('\0')) != std::string_view::npos; texts.remove_prefix(end + 1))
        out.insert(out.end(), String(texts.substr(0, end)));
}

extern template class QEL_API PacketFields<Packet>;
extern template class QEL_API PacketFields<PacketView>;

} // namespace qel
