// Stores packets under a key: a child for each field, or one value.
#include <qel/packet/packet.h>
#include <qel/store/core/item.h>
#include <qel/store/core/scoped_transaction.h>
#include <qel/store/core/store.h>

#include <qel/foundation/log/message_stream.h>

#include <utility>

namespace qel {

namespace {

using Element = PacketScheme::Element;
using Kind = PacketScheme::Kind;

/// The form in which a field is stored.
enum class Form { None, Integer, Float, Guid, Text, Bytes };

Form formOf(const PacketScheme& scheme, const Element& element) {
    if (element.getVersion() > scheme.getMaxVersion() || (element.getFlags() & Element::kRowId) != 0)
        return Form::None;
    if ((element.getFlags() & Element::kStoreAsBuffer) != 0) return Form::Bytes;
    if (element.getKind() == Kind::String) return Form::Text;
    if (element.getFixedCount() != 1) return Form::Bytes;
    switch (element.getKind()) {
    case Kind::Integer:
        return Form::Integer;
    case Kind::Float:
        return Form::Float;
    case Kind::Guid:
        return Form::Guid;
    default:
        return Form::Bytes;
    }
}

void addField(Item& value, const Packet& packet, const Element& element, Form form) {
    switch (form) {
    case Form::None:
        return;
    case Form::Integer:
        value.addInteger(packet.getInteger(element));
        return;
    case Form::Float:
        value.addFloat(packet.getFloat(element));
        return;
    case Form::Guid:
        value.addGUID(packet.get<GUID>(element));
        return;
    case Form::Text:
        value.addString(SmartCStr(packet.getString(element)));
        return;
    case Form::Bytes:
        value.addBuffer(packet.getBytes(element));
        return;
    }
}

/// Sets a field from its child. A value of another type leaves it unchanged.
void setField(Packet& packet, const Element& element, Form form, Item::Iterator value) {
    int64 integer = 0;
    double number = 0;
    GUID guid;
    ConstByteSpan bytes;
    switch (form) {
    case Form::None:
        return;
    case Form::Integer:
        if (value.asInteger(integer)) packet.setInteger(element, integer);
        return;
    case Form::Float:
        if (value.asFloat(number)) packet.setFloat(element, number);
        return;
    case Form::Guid:
        if (value.asGUID(guid)) packet.set(element, guid);
        return;
    case Form::Text:
        if (const char* text = value.asWeakCStr()) packet.setString(element, text);
        return;
    case Form::Bytes:
        if (value.asWeakBuffer(bytes)) packet.setBuffer(element, bytes);
        return;
    }
}

/// Calls @p visit(child key, element, form) for each field that has a child of @p key.
template <typename Visit>
void forEachField(const Item& key, const PacketScheme& scheme, const Visit& visit) {
    Item child(key);
    for (const auto& [name, element] : scheme.getElements()) {
        const Form form = formOf(scheme, element);
        if (form == Form::None) continue;
        child.resizePlain(key.getPlainSize());
        visit(child.addString(SmartCStr(name)), element, form);
    }
}

/// Returns true if @p value is a packet stored by storePacketCompact().
bool getCompactBytes(const Item& value, ConstByteSpan& bytes) {
    return value.getIterator().asWeakBuffer(bytes);
}

} // namespace

void Item::storePacket(const Packet* packet) const {
    const PacketScheme* const scheme = packet->getScheme();
    if (!scheme) {
        logging::error() << "trying to store packet without scheme";
        return;
    }
    ScopedTransaction transaction(*this);
    store(Item());
    forEachField(*this, *scheme, [&](const Item& child, const Element& element, Form form) {
        Item value;
        addField(value, *packet, element, form);
        getStore()->set(child, value);
    });
    transaction.commit();
}

bool Item::fetchPacket(Packet* out) const {
    const PacketScheme* const scheme = out->getScheme();
    if (!scheme) {
        logging::error() << "trying to fetch packet without scheme";
        return false;
    }
    const Item* const value = fetch();
    if (!value) return false;
    if (ConstByteSpan bytes; getCompactBytes(*value, bytes)) {
        const SmartPointer<Packet> packet = Packet::createFromBufferWithManifest(bytes);
        if (!packet || !packet->fit(scheme)) return false;
        out->swap(*packet);
        return true;
    }
    forEachField(*this, *scheme, [out](const Item& child, const Element& element, Form form) {
        if (const Item* const field = child.fetch()) setField(*out, element, form, field->getIterator());
    });
    return true;
}

void Item::storePacketCompact(const Packet* packet) const {
    Item value;
    store(value.addBuffer(packet->convertToBufferWithManifest()));
}

SmartPointer<Packet> Item::fetchPacketCompact() const {
    const Item* const value = fetch();
    ConstByteSpan bytes;
    if (!value || !getCompactBytes(*value, bytes)) return nullptr;
    return Packet::createFromBufferWithManifest(bytes);
}

SmartPointer<Packet> Item::fetchPacketCompact(PacketScheme* scheme) const {
    bool wasCompact = false;
    return fetchPacketCompact(scheme, wasCompact);
}

SmartPointer<Packet> Item::fetchPacketCompact(PacketScheme* scheme, bool& wasCompact) const {
    const Item* const value = fetch();
    ConstByteSpan bytes;
    wasCompact = value && getCompactBytes(*value, bytes);
    SmartPointer<Packet> packet;
    if (wasCompact) {
        packet = Packet::createFromBufferWithManifest(bytes);
        if (packet && !packet->fit(scheme)) packet.reset();
    } else if (value) {
        packet = new Packet(scheme, Packet::kNoPort);
        if (!fetchPacket(packet.get())) packet.reset();
    }
    return packet;
}

} // namespace qel
