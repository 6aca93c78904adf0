#include <qel/packet/packet_scheme.h>

#include <qel/foundation/log/message_stream.h>
#include <qel/store/core/guid.h>

#include <algorithm>
#include <bit>
#include <cstring>

namespace qel {

namespace {

/// Returns the alignment mask: values are aligned to their size, up to 8 bytes.
uint32 alignmentMaskOf(uint32 size) {
    if (size >= 8) return 7;
    if (size >= 4) return 3;
    return size >= 2 ? 1 : 0;
}

} // namespace

PacketScheme::PacketScheme(int16 id, const char* nameSpace, const char* group, const char* name)
    : m_nameSpace(nameSpace), m_group(group), m_name(name), m_id(id), m_slots(2) {}

PacketScheme::~PacketScheme() = default;

qel::String PacketScheme::getFullName() const {
    qel::String name(m_nameSpace);
    if (m_group) name.append("::").append(m_group);
    name.append("::").append(m_name);
    return name;
}

PacketScheme::Element::Number PacketScheme::Element::numberOf(const std::type_info& type) {
    static const std::pair<const std::type_info&, Number> kNumbers[] = {
        {typeid(int8), Number::Int8},       {typeid(uint8), Number::UInt8},
        {typeid(int16), Number::Int16},     {typeid(uint16), Number::UInt16},
        {typeid(int32), Number::Int32},     {typeid(uint32), Number::UInt32},
        {typeid(int64), Number::Int64},     {typeid(uint64), Number::UInt64},
        {typeid(long long), Number::Int64}, {typeid(unsigned long long), Number::UInt64},
        {typeid(float), Number::Float},     {typeid(double), Number::Double},
    };
    for (const auto& [known, number] : kNumbers)
        if (type == known) return number;
    return Number::None;
}

void PacketScheme::Element::setType(const std::type_info& type, uint32 size) {
    m_type = &type;
    m_elementSize = size;
    m_alignmentMask = alignmentMaskOf(size);
    m_maxDynamicCount = size == 0 ? 0 : kMaxDynamicBytes / size;
    const Number number = numberOf(type);
    if (number == Number::None)
        m_kind = type == typeid(GUID) ? Kind::Guid : Kind::Plain;
    else
        m_kind = number >= Number::Float ? Kind::Float : Kind::Integer;
}

PacketScheme::Element& PacketScheme::addElement(const char* name, int count, uint32 size,
                                                const std::type_info& type, const void* defaultBytes) {
    const auto [place, isNew] = m_elements.insert_or_assign(name, Element());
    if (!isNew) logging::error() << "packet scheme " << getFullName() << " declares '" << name << "' twice";
    Element& element = place->second;
    element.m_name = place->first;
    element.m_version = static_cast<int>(m_versions.size());
    element.setType(type, size);
    const auto* bytes = static_cast<const uint8*>(defaultBytes);
    if (bytes && std::any_of(bytes, bytes + size, [](uint8 byte) { return byte != 0; }))
        element.m_default.assign(bytes, bytes + size);
    if (count < 0 && size != 0)
        placeDynamic(element);
    else
        placeFixed(element, static_cast<uint32>(std::max(count, 0)));
    if (isNew) addToIndex(element);
    return element;
}

void PacketScheme::placeFixed(Element& element, uint32 count) {
    if (!takeStatic(element, uint64(count) * element.m_elementSize, element.m_alignmentMask) || count == 0)
        return;
    element.m_fixedCount = count;
    element.m_singleSize = element.m_elementSize;
    element.m_number = Element::numberOf(*element.m_type);
    std::copy(element.m_default.begin(), element.m_default.end(), m_defaults.begin() + element.m_offset);
}

void PacketScheme::placeDynamic(Element& element) {
    if (!takeStatic(element, sizeof(uint32), alignmentMaskOf(sizeof(uint32)))) return;
    element.m_dynamicIndex = static_cast<int>(m_dynamicFields.size());
    m_dynamicFields.push_back(
        {element.m_offset, element.m_elementSize, element.m_alignmentMask, element.m_maxDynamicCount});
}

bool PacketScheme::takeStatic(Element& element, uint64 bytes, uint32 alignmentMask) {
    const uint64 offset = (m_defaults.size() + alignmentMask) & ~uint64(alignmentMask);
    if (offset + bytes > kMaxStaticSize) {
        logging::error() << "packet scheme " << getFullName() << " has no room for '" << element.m_name
                         << "'";
        return false;
    }
    element.m_offset = static_cast<uint32>(offset);
    element.m_end = static_cast<uint32>(offset + bytes);
    m_defaults.resize(element.m_end);
    return true;
}

PacketScheme::Element& PacketScheme::addBytes(const char* name, int count, const std::type_info& type,
                                              Kind kind) {
    Element& element = addElement(name, count, 1, type, nullptr);
    element.m_kind = kind;
    return element;
}

PacketScheme::Element& PacketScheme::String(const char* name, int count) {
    return addBytes(name, count, typeid(char), Kind::String);
}

PacketScheme::Element& PacketScheme::Buffer(const char* name, int count) {
    return addBytes(name, count, typeid(unsigned char), Kind::Buffer);
}

PacketScheme::Element& PacketScheme::Item(const char* name, int count) {
    return addBytes(name, count, typeid(unsigned char), Kind::Item);
}

PacketScheme::Element& PacketScheme::Table() {
    return Single<GUID>("id").addFlags(Element::kRowId);
}

void PacketScheme::NextVersion() {
    if (getMaxVersion() == kMaxVersion) {
        logging::error() << "packet scheme " << getFullName() << " has too many versions";
        return;
    }
    m_newest = {static_cast<uint32>(m_defaults.size()), static_cast<uint32>(m_dynamicFields.size())};
    m_versions.push_back(m_newest);
}

void PacketScheme::addToIndex(const Element& element) {
    if (m_elements.size() * 2 > m_slots.size()) {
        m_slots.assign(m_slots.size() * 2, Slot());
        for (const auto& [name, other] : m_elements) enterSlot(other);
    } else {
        enterSlot(element);
    }
}

void PacketScheme::enterSlot(const Element& element) {
    const Key key(element.m_name);
    const size_t mask = m_slots.size() - 1;
    size_t i = key.hash() >> 32 & mask;
    while (m_slots[i].element) i = (i + 1) & mask;
    m_slots[i] = {key, &element};
}

const PacketScheme::Element& PacketScheme::blankElement() {
    static const Element blank;
    return blank;
}

const PacketScheme::Element& PacketScheme::reportUndeclared(std::string_view name) const {
    logging::error() << "packet scheme " << getFullName() << " declares no field '" << name << "'";
    return blankElement();
}

} // namespace qel
