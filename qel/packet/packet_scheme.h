// PacketScheme: the declared layout of one kind of packet, with its history of versions.
#pragma once

#include <qel/foundation/base/containers.h>
#include <qel/foundation/base/string.h>
#include <qel/foundation/base/types.h>
#include <qel/platform/api.h>

#include <array>
#include <cstring>
#include <memory>
#include <string_view>
#include <typeinfo>

namespace qel {

class Packet;
class PacketView;
template <typename Self>
class PacketFields;

namespace internal {
class PacketCheck;
}

/// The layout of a kind of packet: an id, named fields of fixed or variable size, and versions.
///
/// A subclass declares the fields in its constructor and closes each version with NextVersion(). A
/// declaration never changes; a later version only appends, so that an old sender and a new reader, and the
/// reverse, understand each other. docs/formats.md specifies the bytes.
/// @code
/// struct JobScheme : PacketScheme {
///     JobScheme() : PacketScheme(700, "Worker", nullptr, "Job") {
///         Single<int32>("priority", 5);
///         String("path", kDynamic);
///         NextVersion();
///         Array<double>("weights", kDynamic);
///         NextVersion();
///     }
/// };
/// @endcode
/// Schemes are plain objects that are created once and must outlive their packets.
/// @threads any, once the constructor has returned.
class QEL_API PacketScheme {
public:
    class Element;

    /// What a field holds; a packet's record in a Store depends on it.
    enum class Kind : uint8 {
        Plain = 0,   ///< bytes of a type without a kind of its own
        Integer = 1, ///< integer of 8 to 64 bits
        Float = 2,   ///< float or double
        String = 3,  ///< text with its terminating zero
        Buffer = 4,  ///< bytes
        Item = 5,    ///< the plain bytes of an Item
        Guid = 6,    ///< GUID
    };

    /// The static size and the number of dynamic fields of one version.
    struct Version {
        uint32 staticSize = 0;   ///< bytes of the static area
        uint32 dynamicCount = 0; ///< number of dynamic fields
    };

    /// The count that declares a dynamic field, as does every negative count.
    static constexpr int kDynamic = -1;
    /// The largest size of a dynamic field in bytes.
    static constexpr uint32 kMaxDynamicBytes = 16777216;
    /// The largest static area in bytes, and the highest version, that the version suffix of a packet can
    /// hold.
    static constexpr uint32 kMaxStaticSize = 0xffffff;
    static constexpr int kMaxVersion = 255; ///< @copydoc kMaxStaticSize

    /// Creates a scheme without fields.
    /// @param id         the id of the packets; its 16 bits are stored in their header.
    /// @param nameSpace  names that outlive the scheme.
    /// @param group      null for a scheme without a group.
    PacketScheme(int16 id, const char* nameSpace, const char* group, const char* name);
    virtual ~PacketScheme();
    PacketScheme(const PacketScheme&) = delete;
    PacketScheme& operator=(const PacketScheme&) = delete;

    /// Returns the id.
    int16 getID() const { return m_id; }
    /// Returns the name without namespace and group.
    const char* getName() const { return m_name; }
    /// Returns the namespace, "::" and the group if there is one, "::", and the name.
    qel::String getFullName() const;
    /// Returns the number of versions minus 1; -1 without a version.
    int getMaxVersion() const { return static_cast<int>(m_versions.size()) - 1; }
    /// Returns the sizes of a version; zeros for a version that does not exist.
    Version getVersion(int version) const {
        return static_cast<size_t>(version) < m_versions.size() ? m_versions[static_cast<size_t>(version)]
                                                                : Version();
    }
    /// Returns the sizes of the newest version.
    const Version& getNewestVersion() const { return m_newest; }
    /// Returns the largest cargo in bytes; 0 for a scheme without cargo.
    uint32 getMaxCargoSize() const { return m_maxCargoSize; }
    /// Returns all fields by name.
    const Map<qel::String, Element>& getElements() const { return m_elements; }
    /// Finds the field @p name, for access without a further search.
    /// @return a field that is empty and ignores writes if no field has that name.
    /// @errors an undeclared name is logged. @threads any.
    inline const Element& find(std::string_view name) const;

protected:
    /// Declares a field.
    /// @param name          must be unique; a second declaration replaces the first and is logged.
    /// @param count         elements of a fixed field; below 0 declares a dynamic one.
    /// @param size          bytes of one element.
    /// @param type          decides the kind.
    /// @param defaultBytes  value of the first element of a fixed field in new packets; null means zeros.
    /// @return the field, for its flags.
    /// @errors a field that would extend the static area beyond kMaxStaticSize is logged and gets a count of
    /// 0.
    Element& addElement(const char* name, int count, uint32 size, const std::type_info& type,
                        const void* defaultBytes);
    /// Declares one value.
    template <typename T>
    Element& Single(const char* name, const T& defaultValue = T()) {
        static_assert(std::is_trivially_copyable_v<T>);
        return addElement(name, 1, sizeof(T), typeid(T), &defaultValue);
    }
    /// Declares an array of @p count elements, or a dynamic one.
    template <typename T>
    Element& Array(const char* name, int count) {
        static_assert(std::is_trivially_copyable_v<T>);
        return addElement(name, count, sizeof(T), typeid(T), nullptr);
    }
    /// Declares a text of @p count bytes with its terminating zero.
    Element& String(const char* name, int count);
    /// Declares @p count bytes.
    Element& Buffer(const char* name, int count);
    /// Declares the plain bytes of an Item.
    Element& Item(const char* name, int count);
    /// Allows raw bytes after the fields, and makes packets of the scheme unversioned.
    void Cargo(uint32 maxSize) { m_maxCargoSize = maxSize; }
    /// Declares the GUID "id": the packets are rows of a Table, whose keys hold it.
    Element& Table();
    /// Closes a version. Every version must be closed, including the last.
    void NextVersion();

private:
    friend class Packet;
    friend class PacketField;
    friend class PacketView;
    friend class internal::PacketCheck;
    template <typename Self>
    friend class PacketFields;

    /// What the check of a received packet needs to know about a dynamic field.
    struct DynamicField {
        uint32 offset;
        uint32 elementSize;
        uint32 alignmentMask;
        uint32 maxCount;

        uint64 align(uint64 position) const { return (position + alignmentMask) & ~uint64(alignmentMask); }
    };
    /// A name as three numbers, which distinguish names of up to 16 bytes; those of a literal are computed by
    /// the compiler.
    struct Key {
        inline explicit Key(std::string_view name);
        uint64 hash() const;
        bool operator==(const Key&) const = default;

        uint64 head = 0; ///< its first bytes
        uint64 tail = 0; ///< its last bytes
        size_t size;
    };
    struct Slot {
        Key key{{}};
        const Element* element = nullptr;
    };

    inline const Element& lookUp(const Key& key, std::string_view name) const;
    static const Element& blankElement();
    const Element& reportUndeclared(std::string_view name) const;
    Element& addBytes(const char* name, int count, const std::type_info& type, Kind kind);
    void placeFixed(Element& element, uint32 count);
    void placeDynamic(Element& element);
    bool takeStatic(Element& element, uint64 bytes, uint32 alignmentMask);
    void addToIndex(const Element& element);
    void enterSlot(const Element& element);

    Map<qel::String, Element> m_elements;
    Vector<DynamicField> m_dynamicFields;
    const char* m_nameSpace;
    const char* m_group;
    const char* m_name;
    int16 m_id;
    uint32 m_maxCargoSize = 0;
    Vector<Version> m_versions;
    Version m_newest;
    Vector<uint8> m_defaults; // the static area of a new packet, up to the last field declared
    Vector<Slot> m_slots;     // open addressing by hash, at least half empty
};

/// A declared field.
class QEL_API PacketScheme::Element {
public:
    /// Flag of a field that a record in a Store omits, since the key of the row holds it.
    static constexpr uint32 kRowId = 1;
    /// Flag of a field that a record in a Store keeps as bytes, whatever its kind.
    static constexpr uint32 kStoreAsBuffer = 2;

    /// Returns the name; empty for a field that does not exist.
    std::string_view getName() const { return m_name; }
    /// Returns the type of one element.
    const std::type_info& getType() const { return *m_type; }
    /// Returns the offset of the values, or of a dynamic field's count, in the static area.
    uint32 getOffset() const { return m_offset; }
    /// Returns the size of one element in bytes.
    uint32 getElementSize() const { return m_elementSize; }
    /// Returns the alignment minus 1.
    uint32 getAlignmentMask() const { return m_alignmentMask; }
    /// Returns the number of elements of a fixed field; 0 for a dynamic one.
    uint32 getFixedCount() const { return m_fixedCount; }
    /// Returns the index among the dynamic fields; -1 for a fixed one.
    int getDynamicIndex() const { return m_dynamicIndex; }
    /// Returns what the field holds.
    Kind getKind() const { return m_kind; }
    /// Returns the sum of the flags.
    uint32 getFlags() const { return m_flags; }
    /// Adds flags. Must be called while the scheme is being declared.
    Element& addFlags(uint32 flags) {
        m_flags |= flags;
        return *this;
    }
    /// Returns the largest number of elements of a dynamic field.
    uint32 getMaxDynamicCount() const { return m_maxDynamicCount; }
    /// Returns the version that introduced the field.
    int getVersion() const { return m_version; }
    /// Returns the default value, getElementSize() bytes; null if it is zeros.
    const uint8* getDefaultBytes() const { return m_default.empty() ? nullptr : m_default.data(); }

private:
    friend class PacketScheme;
    friend class Packet;
    friend class PacketView;
    template <typename Self>
    friend class PacketFields;

    /// How a single value is read; None if it is not a number.
    enum class Number : uint8 {
        None,
        Int8,
        UInt8,
        Int16,
        UInt16,
        Int32,
        UInt32,
        Int64,
        UInt64,
        Float,
        Double
    };
    static Number numberOf(const std::type_info& type);
    template <typename T>
    static T load(const uint8* bytes) {
        T value;
        std::memcpy(&value, bytes, sizeof value);
        return value;
    }
    inline int64 integerAt(const uint8* bytes) const;
    inline double floatAt(const uint8* bytes) const;
    void setType(const std::type_info& type, uint32 size);

    std::string_view m_name; // the key in the scheme's map
    uint32 m_offset = 0;
    uint32 m_end = 0; // end of the values, or of the count, in the static area
    uint32 m_elementSize = 0;
    uint32 m_singleSize = 0; // of the first value of a fixed field; 0 for other fields
    int m_dynamicIndex = -1;
    Number m_number = Number::None;
    Kind m_kind = Kind::Plain;
    uint32 m_fixedCount = 0;
    uint32 m_alignmentMask = 0;
    uint32 m_maxDynamicCount = 0;
    uint32 m_flags = 0;
    int m_version = 0;
    const std::type_info* m_type = &typeid(void);
    Vector<uint8> m_default;
};

inline int64 PacketScheme::Element::integerAt(const uint8* bytes) const {
    switch (m_number) {
    case Number::Int8:
        return load<int8>(bytes);
    case Number::UInt8:
        return load<uint8>(bytes);
    case Number::Int16:
        return load<int16>(bytes);
    case Number::UInt16:
        return load<uint16>(bytes);
    case Number::Int32:
        return load<int32>(bytes);
    case Number::UInt32:
        return load<uint32>(bytes);
    case Number::Int64:
    case Number::UInt64:
        return load<int64>(bytes);
    default:
        return 0;
    }
}

inline double PacketScheme::Element::floatAt(const uint8* bytes) const {
    if (m_number == Number::Float) return static_cast<double>(load<float>(bytes));
    return m_number == Number::Double ? load<double>(bytes) : 0;
}

inline PacketScheme::Key::Key(std::string_view name) : size(name.size()) {
    const auto load = [&name](size_t position, auto word) {
        std::memcpy(&word, name.data() + position, sizeof word);
        return static_cast<uint64>(word);
    };
    if (size >= 8) {
        head = load(0, uint64());
        tail = load(size - 8, uint64());
    } else if (size >= 4) {
        head = load(0, uint32());
        tail = load(size - 4, uint32());
    } else if (size != 0) {
        head = load(0, uint8());
        tail = load(size / 2, uint8()) << 8 | load(size - 1, uint8());
    }
}

/// A search starts with the upper bits, which are mixed best.
inline uint64 PacketScheme::Key::hash() const {
    return (head * 0x9e3779b97f4a7c15 ^ tail ^ uint64(size) << 56) * 0xc2b2ae3d27d4eb4f;
}

inline const PacketScheme::Element& PacketScheme::find(std::string_view name) const {
    return lookUp(Key(name), name);
}

inline const PacketScheme::Element& PacketScheme::lookUp(const Key& key, std::string_view name) const {
    const size_t mask = m_slots.size() - 1;
    for (size_t i = key.hash() >> 32 & mask;; i = (i + 1) & mask) {
        const Slot& slot = m_slots[i];
        if (!slot.element) return reportUndeclared(name);
        if (slot.key == key && (key.size <= 16 || slot.element->m_name == name)) return *slot.element;
    }
}

} // namespace qel
