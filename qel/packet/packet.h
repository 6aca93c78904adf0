// Packet: a message with a small header and a payload laid out by a PacketScheme.
#pragma once

#include <qel/foundation/base/buffer.h>
#include <qel/foundation/base/byte_consumer.h>
#include <qel/foundation/base/byte_span.h>
#include <qel/foundation/base/object.h>
#include <qel/foundation/base/smart_pointer.h>
#include <qel/foundation/base/string.h>
#include <qel/foundation/base/types.h>
#include <qel/packet/packet_field.h>
#include <qel/packet/packet_fields.h>
#include <qel/packet/packet_scheme.h>
#include <qel/platform/api.h>

#include <array>
#include <cstring>
#include <memory>
#include <string_view>
#include <type_traits>

namespace qel {

class Item;

/// A message between processes, also kept in files and in a Store. docs/formats.md specifies its bytes.
///
/// A packet that is created for a scheme has all its fields, at their defaults, from the start. Small dynamic
/// fields are stored after the static area, so that a packet whose fields are set in the order of their
/// declaration is its own payload; others get blocks of their own and are copied together on output.
///
/// A packet that was received is raw, a block of bytes, until fit() has checked it and bound it to a scheme.
/// Nothing is copied then: fields point into the block. PacketView reads a received payload without an
/// object.
/// @threads not locked; used by one thread at a time, passed on by reference.
class QEL_API Packet : public Object, public PacketFields<Packet> {
    QEL_CLASS(Packet, Object)

public:
    /// The flag of a payload that ends with a version suffix. Other flags belong to the application.
    static constexpr uint16 kVersioned = 2;
    /// The reply port of a packet that expects no reply.
    static constexpr short kNoPort = -1;
    /// The size of the header in bytes, the same in all framings.
    static constexpr size_t kHeaderSize = 8;
    /// The largest payload, in bytes, that readers of text and files accept.
    static constexpr uint32 kMaxPayloadSize = 0xffffff;
    /// Pieces of fewer bytes are never marked as compressible.
    static constexpr uint32 kMinCompressibleSize = 1024;

    /// What determines how a payload is read.
    struct Manifest {
        uint16 id = 0;    ///< id of the scheme
        uint16 flags = 0; ///< kVersioned and the application's flags
    };

    /// Creates a raw packet with a payload of @p size uninitialised bytes; the caller fills in header and
    /// payload.
    explicit Packet(uint32 size);
    /// Creates a raw packet over foreign bytes, which are neither copied nor freed, but written when a field
    /// is set. @owner holds a reference to @p owner, which may be null and keeps the bytes alive.
    Packet(uint32 size, uint8* bytes, Object* owner)
        : m_payload(bytes), m_payloadSize(size), m_hasExternalPayload(true), m_owner(owner) {}
    /// Creates a raw packet with the header and a copy of the payload of @p other.
    explicit Packet(const Packet* other);
    /// Creates a packet of @p scheme with defaults in all fields and no reply port.
    Packet(const PacketScheme* scheme, short port);
    ~Packet() override;
    Packet(const Packet&) = delete;
    Packet& operator=(const Packet&) = delete;

    /// Exchanges everything except reference counts and weak pointers.
    void swap(Packet& other) noexcept;

    // --- Header -------------------------------------------------------------------------------------------

    /// Returns the destination port.
    short getPort() const { return m_header.port; }
    /// Sets the destination port.
    void setPort(short port) { m_header.port = port; }
    /// Returns the port for the reply, kNoPort if none is expected.
    short getReplyPort() const { return m_header.replyPort; }
    /// Sets the port for the reply.
    void setReplyPort(short port) { m_header.replyPort = port; }
    /// Returns the id of the scheme.
    uint16 getID() const { return m_header.manifest.id; }
    /// Sets the id.
    void setID(uint16 id) { m_header.manifest.id = id; }
    /// Returns all flags.
    uint16 getFlags() const { return m_header.manifest.flags; }
    /// Sets all flags.
    void setFlags(uint16 flags) { m_header.manifest.flags = flags; }
    /// Sets the bits of @p flag.
    void addFlag(uint16 flag) { setFlags(static_cast<uint16>(getFlags() | flag)); }
    /// Clears the bits of @p flag.
    void clearFlag(uint16 flag) { setFlags(static_cast<uint16>(getFlags() & ~flag)); }
    /// Returns true if any bit of @p flag is set.
    bool hasFlag(uint16 flag) const { return (getFlags() & flag) != 0; }
    /// Returns the kHeaderSize bytes of the header, as they are sent.
    uint8* rawHeader() { return reinterpret_cast<uint8*>(&m_header); }
    /// @copydoc rawHeader
    const uint8* rawHeader() const { return reinterpret_cast<const uint8*>(&m_header); }
    /// Returns id and flags.
    const Manifest& manifest() const { return m_header.manifest; }
    /// Returns a hint to writers that batch; it is not sent.
    bool getFlushAfterThis() const { return m_flushAfterThis; }
    /// Sets the hint.
    void setFlushAfterThis(bool flush) { m_flushAfterThis = flush; }

    // --- Scheme -------------------------------------------------------------------------------------------

    /// Checks a raw packet from outside and binds it to @p scheme; all validation of incoming packets is
    /// here. Fields that are newer than the sender get their defaults; fields that only the sender knows are
    /// skipped.
    /// @return false, with the packet still raw, if it does not fit; a warning states the reason. Also false
    ///         for a packet that was created for another scheme.
    bool fit(const PacketScheme* scheme);
    /// Returns the scheme; null for a raw packet.
    const PacketScheme* getScheme() const { return m_scheme; }
    /// Resets a packet that was created for a scheme so that it can be built again in the same memory: all
    /// fields return to their defaults and the cargo is removed. The header stays as it is. Has no effect on
    /// a packet that was received.
    void clearFields();
    /// Makes the packet be written as the first version of its scheme, which every reader knows.
    void disableVersioning();

    // --- Fields -------------------------------------------------------------------------------------------
    // PacketFields has what reads them. A name that the scheme does not declare is logged, and setting it has
    // no effect; the same holds for every name while the packet is raw.

    /// Sets an integer of any declared width, which keeps the low bits. Has no effect on any other field.
    void setInteger(const PacketField& field, int64 value) { setInteger(elementOf(field), value); }
    /// @copydoc setInteger(const PacketField&, int64)
    void setInteger(const PacketScheme::Element& element, int64 value);
    /// Sets a float or double. Has no effect on any other field.
    void setFloat(const PacketField& field, double value) { setFloat(elementOf(field), value); }
    /// @copydoc setFloat(const PacketField&, double)
    void setFloat(const PacketScheme::Element& element, double value);
    /// Sets a single value of the declared type. Has no effect if the field is not a single value of this
    /// size.
    template <typename T>
    void set(const PacketField& field, const T& value) {
        set(elementOf(field), value);
    }
    /// @copydoc set(const PacketField&, const T&)
    template <typename T>
    void set(const PacketScheme::Element& element, const T& value) {
        static_assert(std::is_trivially_copyable_v<T>);
        if (hasSingle(element, sizeof(T))) save<T>(element, value);
    }
    /// Copies a single value. @return false if the field is not a single value of @p size bytes.
    bool singleSetInternal(const PacketField& field, const void* value, uint32 size);

    /// Sets a text with its terminating zero. @param text  null means the empty text.
    void setString(const PacketField& field, const char* text);
    /// Sets a text with its terminating zero.
    void setString(const PacketField& field, const std::string& text);
    /// Sets a text with its terminating zero.
    void setString(const PacketField& field, const StringId& text);
    /// Sets the bytes of a field; a dynamic field is padded with zeros to whole elements.
    /// @param size          0 leaves the field as it is.
    /// @param compressible  hint for the output, kept from kMinCompressibleSize bytes on.
    /// @errors bytes that do not fit in a fixed field are logged and dropped.
    void setBuffer(const PacketField& field, const uint8* bytes, uint32 size, bool compressible = false);
    /// As the other form, for the bytes of a span.
    void setBuffer(const PacketField& field, ConstByteSpan bytes, bool compressible = false);
    /// Reserves @p size uninitialised bytes in a field for the caller to write. A dynamic field gets the
    /// number of elements that they require.
    /// @return where to write @p size bytes; null for a size of 0, which leaves the field as it is.
    /// @errors a size that does not fit in a fixed field is logged; the field then stays as it is, and what
    /// the
    ///         caller writes is lost.
    uint8* allocateBuffer(const PacketField& field, uint32 size, bool compressible = false);

    /// Sets a field to the plain bytes of an Item; an empty Item leaves the field as it is.
    void setItem(const PacketField& field, const Item& item);

    /// Sets the elements of a field declared with a type of this size; see arraySetInternal().
    template <typename T>
    void setArray(const PacketField& field, const T* values, uint32 count);

    /// Sets the elements of a field. A fixed field keeps the elements after the last one that is set.
    /// @errors elements that do not fit in a fixed field are logged and dropped.
    void arraySetInternal(const PacketField& field, const void* data, uint32 count);
    /// Reserves elements; otherwise as allocateBuffer(), but a count of 0 empties a dynamic field.
    void* allocateInternal(const PacketField& field, uint32 count);

    // --- Cargo: the raw bytes after the fields of an unversioned packet -----------------------------------

    /// Sets the cargo to a copy of the bytes. @param compressible  as for setBuffer().
    void setCargo(const uint8* bytes, uint32 size, bool compressible = false);
    /// @copydoc setCargo(const uint8*, uint32, bool)
    void setCargo(ConstByteSpan bytes, bool compressible = false);
    /// Sets the cargo to a text with its terminating zero. @param text  null means the empty text.
    void setCargoString(const char* text);
    /// Reserves uninitialised cargo. @return where to write @p size bytes, null for a size of 0.
    uint8* allocateCargo(uint32 size, bool compressible = false);

    // --- Payload ------------------------------------------------------------------------------------------

    /// Returns the size in bytes of the payload as it would be sent.
    /// @errors a payload of 4 GiB or more cannot be sent: it is logged, and the result is 0.
    uint32 getPayloadSize() const;
    /// Writes the payload as it is sent. @return the number of bytes written, getPayloadSize().
    uint32 copyPayloadTo(uint8* out) const;
    /// Returns the payload as it is sent, in one piece. The payload of a packet whose dynamic fields were set
    /// once each, in the order of their declaration, and fit in 512 bytes is already there; any other payload
    /// is copied together first.
    /// @owner  valid until the packet changes or is destroyed.
    /// @errors as getPayloadSize(); the view is then empty.
    ConstByteSpan getPayloadBytes();
    /// Passes the same bytes to @p consumer piece by piece, without copying them together first.
    /// @return the number of bytes passed, getPayloadSize().
    uint32 getPayloadConsumed(ByteConsumer* consumer) const;
    /// Returns the static area, or the payload of a raw packet.
    uint8* getPayload() { return m_payload; }
    /// @copydoc getPayload
    const uint8* getPayload() const { return m_payload; }
    /// Stores getPayloadSize() for getCachedPayloadSize().
    void updateCachedPayloadSize() { m_cachedPayloadSize = getPayloadSize(); }
    /// Returns what updateCachedPayloadSize() stored last; 0 before the first call.
    uint32 getCachedPayloadSize() const { return m_cachedPayloadSize; }

    // --- Framings; defined in packet_text.cpp -------------------------------------------------------------

    /// Returns the packet as one line of text: "PKTB16[", header and payload as upper-case hexadecimal
    /// digits, "]".
    String convertToBase16String() const;
    /// Returns the same text after a line feed, for streams shared with log output, where an unfinished line
    /// must not swallow the beginning of the packet.
    String convertToBase16String_NewLinePrefix() const;
    /// Creates the raw packet from a line of text.
    /// @return null for other text, and for a corrupt packet, which is logged.
    static SmartPointer<Packet> createFromBase16String(std::string_view text);
    /// Returns id, flags and payload.
    Buffer convertToBufferWithManifest() const;
    /// Creates the raw packet from the bytes of convertToBufferWithManifest(); its ports are 0.
    /// @return null for fewer than 4 bytes, which is logged.
    static SmartPointer<Packet> createFromBufferWithManifest(ConstByteSpan bytes);

private:
    using Element = PacketScheme::Element;
    using Number = Element::Number;

    /// The first bytes of every framing; little-endian.
    struct Header {
        int16 port = 0;
        int16 replyPort = 0;
        Manifest manifest;
    };
    static_assert(sizeof(Header) == kHeaderSize && std::is_trivially_copyable_v<Header>);

    /// The bytes of a dynamic field or the cargo, in the payload or in a block of their own. Its owner must
    /// clear it.
    class Attachment {
    public:
        uint8* bytes() { return m_bytes; }
        const uint8* bytes() const { return m_bytes; }
        uint32 size() const { return m_size; }
        bool isCompressible() const { return m_isCompressible; }
        void clear() {
            if (m_isOwned) delete[] m_bytes;
            *this = Attachment();
        }
        /// Refers to bytes of the payload; null if they are outside of it.
        void view(uint8* bytes, uint32 size) {
            m_bytes = bytes;
            m_size = size;
        }
        /// Takes ownership of a block.
        void take(std::unique_ptr<uint8[]> block, uint32 size);
        /// Moves bytes of the payload to a block of their own.
        void detach();
        /// Stores the hint for large pieces only.
        void hint(bool compressible) { m_isCompressible = compressible && m_size >= kMinCompressibleSize; }

    private:
        uint8* m_bytes = nullptr;
        uint32 m_size = 0;
        bool m_isOwned = false;
        bool m_isCompressible = false;
    };

    /// The attachments of the dynamic fields; there is room for a few inside the packet.
    class Attachments {
    public:
        Attachments() = default;
        ~Attachments() { clear(); }
        Attachments(const Attachments&) = delete;
        Attachments& operator=(const Attachments&) = delete;

        uint32 size() const { return m_size; }
        Attachment* begin() { return m_many ? m_many.get() : m_few.data(); }
        Attachment* end() { return begin() + m_size; }
        Attachment& operator[](size_t i) { return begin()[i]; }
        const Attachment& operator[](size_t i) const { return m_many ? m_many[i] : m_few[i]; }
        /// Frees all.
        void clear() {
            for (Attachment& attachment : *this) attachment.clear();
            m_size = 0;
        }
        /// Frees all and creates @p size empty ones.
        void reset(uint32 size) {
            clear();
            if (m_many || size > m_few.size()) allocate(size);
            m_size = size;
        }
        void swap(Attachments& other) noexcept;

    private:
        void allocate(uint32 size);

        std::array<Attachment, 4> m_few;
        std::unique_ptr<Attachment[]> m_many;
        uint32 m_size = 0;
    };

    friend class PacketFields<Packet>;

    /// Returns true if the element's values or count are in the static area; those of another scheme may
    /// not be.
    bool hasStatic(const Element& element) const { return element.m_end <= m_staticSize; }
    bool hasSingle(const Element& element, size_t size) const {
        return element.m_singleSize == size && hasStatic(element);
    }
    const uint8* staticBytes(const Element& element) const {
        return hasStatic(element) ? m_payload + element.m_offset : nullptr;
    }
    uint32 dynamicCount() const { return m_attachments.size(); }
    ConstByteSpan dynamicBytes(uint32 index) const {
        return {m_attachments[index].bytes(), m_attachments[index].size()};
    }
    ConstByteSpan cargoBytes() const { return {m_cargo.bytes(), m_cargo.size()}; }
    bool isDynamic(const Element& element) const {
        return static_cast<uint32>(element.m_dynamicIndex) < m_attachments.size();
    }
    template <typename T, typename Value>
    void save(const Element& element, Value value) {
        const T narrow = static_cast<T>(value);
        std::memcpy(m_payload + element.m_offset, &narrow, sizeof narrow);
    }

    uint8* allocateBytes(const Element& element, uint64 size, bool compressible, const char* tooMany);
    void setBytes(const Element& element, ConstByteSpan bytes, bool compressible, const char* tooMany);
    uint8* setDynamic(const Element& element, const uint8* bytes, uint64 size, bool compressible);
    uint8* takeRoom(const PacketScheme::DynamicField& field, uint32 size);

    void upgrade(uint32 knownSize);
    void forgetScheme();

    bool isWrittenVersioned() const { return hasFlag(kVersioned) && !m_versioningDisabled; }
    bool isWrittenAsBuilt() const;
    template <typename Piece>
    void forEachPiece(const Piece& piece) const;
    template <typename Piece>
    void forEachField(const PacketScheme::Version& version, const Piece& piece) const;
    uint32 versionSuffix() const;
    void appendBase16(String& text) const;
    void freePayload() {
        if (!m_hasExternalPayload) delete[] m_payload;
    }

    const PacketScheme* m_scheme = nullptr;
    uint8* m_payload = nullptr;
    uint32 m_payloadSize = 0;
    uint32 m_staticSize = 0;       // 0 while the packet is raw
    uint32 m_builtSize = 0;        // of the static area and the dynamic fields after it in the same block
    uint32 m_roomSize = 0;         // what m_builtSize may grow to
    uint32 m_nextField = 0;        // dynamic fields are set in order while none before this one is set
    bool m_isBuiltInOrder = false; // the first m_builtSize bytes are the payload as it is written
    Header m_header;
    uint32 m_cachedPayloadSize = 0;
    bool m_hasExternalPayload = false;
    bool m_isConstructed = false;
    bool m_flushAfterThis = false;
    bool m_versioningDisabled = false;
    Attachment m_cargo;
    Attachments m_attachments;
    SmartPointer<Object> m_owner;
    std::unique_ptr<uint8[]> m_spill;     // where a write goes that is too long for a fixed field
    std::unique_ptr<uint8[]> m_assembled; // what getPayloadBytes() returned if it had to copy
};

inline void Packet::setInteger(const PacketScheme::Element& element, int64 value) {
    if (!hasStatic(element)) return;
    switch (element.m_number) {
    case Number::Int8:
    case Number::UInt8:
        return save<uint8>(element, value);
    case Number::Int16:
    case Number::UInt16:
        return save<uint16>(element, value);
    case Number::Int32:
    case Number::UInt32:
        return save<uint32>(element, value);
    case Number::Int64:
    case Number::UInt64:
        return save<int64>(element, value);
    default:
        return;
    }
}

inline void Packet::setFloat(const PacketScheme::Element& element, double value) {
    if (!hasStatic(element)) return;
    if (element.m_number == Number::Float) save<float>(element, value);
    if (element.m_number == Number::Double) save<double>(element, value);
}

template <typename T>
void Packet::setArray(const PacketField& field, const T* values, uint32 count) {
    static_assert(std::is_trivially_copyable_v<T>);
    const Element& element = elementOf(field);
    if (element.m_elementSize == sizeof(T)) arraySetInternal(element, values, count);
}

} // namespace qel
