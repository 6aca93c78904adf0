// Item: a list of typed elements in one string of bytes; the value, key and argument list of the data model.
#pragma once

#include <qel/foundation/base/byte_span.h>
#include <qel/foundation/base/class_name.h>
#include <qel/foundation/base/containers.h>
#include <qel/foundation/base/smart_cstr.h>
#include <qel/foundation/base/smart_pointer.h>
#include <qel/foundation/base/string.h>
#include <qel/foundation/base/types.h>
#include <qel/platform/api.h>
#include <qel/store/core/guid.h>
#include <qel/store/core/item_element.h>

#include <algorithm>
#include <concepts>
#include <cstdlib>
#include <cstring>

namespace qelSq {
class Object;
}

namespace qel {

class Buffer;
class Packet;
class PacketScheme;
class Store;
class StringId;

/// A byte string that holds a list of self-describing elements: a tuple. The same type is a key in a Store (a
/// path, each element one step), a value there, the arguments and the result of a remote call, and a field of
/// a Packet. Its plain bytes are what is stored and sent; docs/formats.md tells their form.
///
/// Writers append an element and can be chained; an Item::Iterator reads. Bytes that are no valid element end
/// the list, without an error. Where elements nest, lists more than kMaxDepth levels down count as malformed.
///
/// Up to 39 bytes stay inside the Item. A view (ExternalBufferMode) points at foreign bytes, which must
/// outlive it; the first write to it copies them. The operations that reach a Store need a key whose store is
/// set, which is not checked; they are defined in item_tree.cpp.
/// @threads a value: one thread at a time.
class QEL_API Item {
    QEL_VALUE_CLASS(Item)

public:
    class Iterator;

    /// Types of the tags that choose a constructor.
    struct PlainModeTag {};
    struct ExternalBufferModeTag {};     ///< @copydoc PlainModeTag
    struct FastExternalBufferModeTag {}; ///< @copydoc PlainModeTag
    struct NILTypeTag {};                ///< @copydoc PlainModeTag
    struct WildcardModeTag {};           ///< @copydoc PlainModeTag
    /// The bytes given are an encoded list and are copied as they stand.
    static constexpr PlainModeTag PlainMode{};
    /// The bytes given are an encoded list that the Item views.
    static constexpr ExternalBufferModeTag ExternalBufferMode{};
    /// As ExternalBufferMode. To turn an Item that is there into a view, use setPlainExternalBuffer().
    static constexpr FastExternalBufferModeTag FastExternalBufferMode{};
    /// One NIL.
    static constexpr NILTypeTag NILType{};
    /// One Wildcard.
    static constexpr WildcardModeTag WildcardMode{};

    /// Deepest nesting that compare(), the text forms, JSON and script values look into: the list of an Item
    /// is level 0, that of a SubItem in it level 1. A list below this level reads as if its bytes had ended.
    static constexpr int kMaxDepth = 4096;
    /// What a Prefix says in front of a list of keys and values.
    static constexpr const char* kTablePrefix = "table";
    /// What a Prefix says in front of the code of a script function.
    static constexpr const char* kScriptPrefix = "squirrel";

    /// The empty list.
    Item() noexcept : m_data(m_inline) {}
    /// The root key of @p store, which it does not own.
    explicit Item(Store* store) noexcept : m_store(store), m_data(m_inline) {}
    /// One String. @param text  null gives the empty text.
    Item(const char* text) : Item() { addString(SmartCStr(text)); }
    /// One String. @copydetails addString(const std::string&)
    Item(const std::string& text) : Item() { addString(text); }
    /// One integer, in the narrowest form.
    template <std::integral T>
    requires(!std::same_as<T, bool>) Item(T value) : Item() { addInteger(static_cast<int64>(value)); }
    /// One GUID.
    Item(const GUID& guid) : Item() { addGUID(guid); }
    /// The elements of addSquirrel(). Defined in script/item_script.cpp.
    explicit Item(const qelSq::Object& value);
    /// One Buffer that holds the bytes.
    Item(const uint8* bytes, size_t size) : Item() { addBuffer(bytes, size); }
    /// One Buffer that holds the bytes.
    explicit Item(ConstByteSpan bytes) : Item(bytes.data, bytes.size) {}
    /// A copy of an encoded list.
    Item(PlainModeTag, const uint8* bytes, size_t size) : Item() { setPlain(bytes, size); }
    /// A copy of an encoded list.
    Item(PlainModeTag, ConstByteSpan bytes) : Item() { setPlain(bytes.data, bytes.size); }
    /// A view of an encoded list. @owner the bytes must outlive the view.
    Item(ExternalBufferModeTag, const uint8* bytes, size_t size) noexcept
        : m_data(const_cast<uint8*>(bytes)), m_capacity(0), m_size(size) {}
    /// @copydoc Item(ExternalBufferModeTag, const uint8*, size_t)
    Item(ExternalBufferModeTag, ConstByteSpan bytes) noexcept
        : Item(ExternalBufferMode, bytes.data, bytes.size) {}
    /// @copydoc Item(ExternalBufferModeTag, const uint8*, size_t)
    Item(FastExternalBufferModeTag, const uint8* bytes, size_t size) noexcept
        : Item(ExternalBufferMode, bytes, size) {}
    /// One NIL.
    explicit Item(NILTypeTag) : Item() { addNIL(); }
    /// One Wildcard.
    explicit Item(WildcardModeTag) : Item() { addWildcard(); }
    /// Copies the bytes, also those of a view, and the store.
    Item(const Item& other) : m_store(other.m_store), m_data(m_inline) {
        setPlain(other.m_data, other.m_size);
    }
    /// Takes over a heap block, which leaves @p other empty; else copies the bytes.
    /// @errors running out of memory while the bytes of a view are copied ends the process.
    Item(Item&& other) noexcept : m_store(other.m_store), m_data(m_inline) { takeOver(other); }
    /// Copies the bytes, also those of a view, and the store.
    Item& operator=(const Item& other) {
        m_store = other.m_store;
        return setPlain(other.m_data, other.m_size);
    }
    /// Takes over a heap block, which leaves @p other empty; else copies the bytes.
    /// @errors as the constructor.
    Item& operator=(Item&& other) noexcept {
        if (this == &other) return *this;
        m_store = other.m_store;
        takeOver(other);
        return *this;
    }
    /// Frees the heap block, if any.
    ~Item() {
        if (m_ownsHeap) std::free(m_data);
    }

    // --- Writing: each appends one element and returns the Item ------------------------------------------

    /// SubItem with the plain bytes of @p item, which may be this very Item.
    /// @errors an item of 4 GiB or more can't be an element, and nothing is appended; so with all payloads.
    Item& add(const Item& item) { return addItem(item); }
    /// GUID.
    Item& add(const GUID& guid) { return addGUID(guid); }
    /// String. @copydetails addString(const std::string&)
    Item& add(const std::string& text) { return addString(text); }
    /// String.
    Item& add(SmartCStr text) { return addString(text); }
    /// String.
    Item& add(const StringId& text);
    /// String. @param text  null gives the empty text.
    Item& add(const char* text) { return addString(SmartCStr(text)); }
    /// One String that holds @p a followed by @p b; null stands for the empty text.
    Item& add(const char* a, const char* b);
    /// The narrowest integer; unsigned 64-bit values keep their bits.
    template <std::integral T>
    requires(!std::same_as<T, bool>) Item& add(T value) { return addInteger(static_cast<int64>(value)); }
    /// Float.
    template <std::floating_point T>
    Item& add(T value) {
        return addFloat(static_cast<double>(value));
    }
    /// True or False.
    template <std::same_as<bool> T>
    Item& add(T value) {
        return addBool(value);
    }

    /// @copydoc add(const Item&)
    Item& addItem(const Item& item) { return putSized(ValueType::SubItem, item.m_data, item.m_size); }
    /// GUID.
    Item& addGUID(const GUID& guid) { return put(ValueType::GUID, guid.bytes); }
    /// String of all bytes. A zero byte in them ends the element early: a reader takes what follows it for
    /// further elements, so texts from outside go through the SmartCStr form, which stops there.
    Item& addString(const std::string& text) { return putText(ValueType::String, text.data(), text.size()); }
    /// String.
    Item& addString(SmartCStr text) { return putText(ValueType::String, text.c_str(), text.size()); }
    /// String. @param text  null gives the empty text.
    Item& addString(const char* text) { return addString(SmartCStr(text)); }
    /// The narrowest of Integer8, Integer16, Integer32 and Integer64 that holds the value.
    Item& addInteger(int64 value) {
        if (value == static_cast<int8>(value)) return put(ValueType::Integer8, static_cast<int8>(value));
        if (value == static_cast<int16>(value)) return put(ValueType::Integer16, static_cast<int16>(value));
        if (value == static_cast<int32>(value)) return put(ValueType::Integer32, static_cast<int32>(value));
        return addInteger64(value);
    }
    /// Integer64, whatever the value.
    Item& addInteger64(int64 value) { return put(ValueType::Integer64, value); }
    /// Float.
    Item& addFloat(double value) { return put(ValueType::Float, value); }
    /// True or False.
    Item& addBool(bool value) { return putTag(value ? ValueType::True : ValueType::False); }
    /// True.
    Item& addTrue() { return putTag(ValueType::True); }
    /// False.
    Item& addFalse() { return putTag(ValueType::False); }
    /// NIL.
    Item& addNIL() { return putTag(ValueType::NIL); }
    /// Wildcard.
    Item& addWildcard() { return putTag(ValueType::Wildcard); }
    /// Meta: the bound behind all descendants of a key.
    Item& addMeta() { return putTag(ValueType::Meta); }
    /// End: the bound behind all descendants of a key and its Meta.
    Item& addEnd() { return putTag(ValueType::End); }
    /// Buffer.
    Item& addBuffer(const Buffer& buffer);
    /// Buffer.
    Item& addBuffer(const uint8* bytes, size_t size) { return putSized(ValueType::Buffer, bytes, size); }
    /// Buffer.
    Item& addBuffer(ConstByteSpan bytes) { return addBuffer(bytes.data, bytes.size); }
    /// Pointer with the plain bytes of a key.
    Item& addPointer(const Item& key) { return addPointer(key.m_data, key.m_size); }
    /// Pointer.
    Item& addPointer(const uint8* bytes, size_t size) { return putSized(ValueType::Pointer, bytes, size); }
    /// Prefix.
    Item& addPrefix(SmartCStr text) { return putText(ValueType::Prefix, text.c_str(), text.size()); }
    /// Referee.
    Item& addReferee(const uint8* bytes, size_t size) { return putSized(ValueType::Referee, bytes, size); }
    /// GUID when the text begins with GUID::kTextPrefix, else String. What follows the prefix and is no text
    /// form of a GUID gives the zero GUID.
    Item& addStringOrEncodedGUID(const String& text);
    /// The elements of a script value: NIL, True, False, integer, Float or String; Prefix "table" and a
    /// SubItem of keys and values; a SubItem for an array; Prefix "squirrel" and a Buffer of bytecode for a
    /// closure, or NIL in the Buffer's place; GUID for an instance of that class. NIL for anything else, for
    /// a container inside itself and for one deeper than kMaxDepth. A zero byte ends a text. Defined in
    /// script/item_script.cpp. @threads main thread.
    Item& addSquirrel(const qelSq::Object& value);
    /// Appends the plain bytes of @p item, so that its elements join this list.
    Item& concatItem(const Item& item);
    /// Begins a SubItem in place: what is written until closeSubItem() are its elements.
    /// @return what closeSubItem() needs.
    size_t openSubItem();
    /// Ends the SubItem begun by openSubItem(). One of 4 GiB or more turns into a NIL.
    Item& closeSubItem(size_t begin);

    // --- Plain bytes --------------------------------------------------------------------------------------

    /// The encoded list; null only for a view of null. @owner valid until the Item changes.
    const uint8* getPlainBytePointer() const { return m_data; }
    /// Bytes of the encoded list.
    size_t getPlainSize() const { return m_size; }
    /// The encoded list. @owner valid until the Item changes.
    ConstByteSpan getConstByteSpan() const { return {m_data, m_size}; }
    /// Replaces the bytes by those of @p other; the store stays.
    Item& setPlain(const Item& other) { return setPlain(other.m_data, other.m_size); }
    /// Replaces the bytes, by a copy of bytes that may lie in this Item; the store stays.
    Item& setPlain(const uint8* bytes, size_t size) {
        if (size > m_capacity) return setPlainGrowing(bytes, size);
        if (size != 0) std::memmove(m_data, bytes, size);
        m_size = size;
        return *this;
    }
    /// Becomes a view, and frees the heap block if there is one; the store stays.
    /// @owner the bytes must outlive the view and must not lie in this Item.
    void setPlainExternalBuffer(const uint8* bytes, size_t size) {
        if (m_ownsHeap) std::free(m_data);
        m_data = const_cast<uint8*>(bytes);
        m_capacity = 0;
        m_size = size;
        m_ownsHeap = false;
    }
    /// Sets the size. New bytes are uninitialised; a view that is not cut to nothing is copied first.
    /// @return the bytes, for writing.
    uint8* resizePlain(size_t size) {
        if (size > m_capacity) {
            m_size = std::min(m_size, size); // all that is copied of a view
            grow(size);
        }
        m_size = size;
        return m_data;
    }
    /// Makes room for @p size bytes in all.
    void reservePlainTotal(size_t size) {
        if (size > m_capacity) grow(std::max(size, m_size));
    }
    /// Removes all elements; memory and store stay.
    void clear() { m_size = 0; }
    /// Whether there is no byte.
    bool empty() const { return m_size == 0; }
    /// Whether there is any byte.
    explicit operator bool() const { return m_size != 0; }

    /// Upper-case hexadecimal digits of the plain bytes.
    String getBase16() const;
    /// Replaces the plain bytes by what the text decodes to.
    /// @return false for a text that does not decode. The Item is then empty, or unchanged when the length
    /// alone tells.
    bool setBase16(const String& text);
    /// Base 64 of the plain bytes in the URL-safe alphabet without padding.
    String getBase64() const;
    /// @copydoc setBase16
    bool setBase64(const String& text);
    /// Self-checking base 64 of the plain bytes; see String::encodeBase64crc().
    String getBase64crc() const;
    /// @copydoc setBase16
    bool setBase64crc(const String& text);

    // --- Reading ------------------------------------------------------------------------------------------

    /// Reads from the first element on. @owner the Item must outlive it and not change while it is used.
    Iterator getIterator() const;
    /// Number of elements.
    int getDepth() const;
    /// Whether a Prefix "squirrel" with a Buffer stands anywhere in the list or below it: a closure's
    /// bytecode, which must never be accepted from outside the process. Pointers and Referees are not looked
    /// into.
    bool hasScriptCode() const;

    /// The order of keys: element by element. Integers of all widths compare by value, other types rank by
    /// their tags, a list that is the beginning of another comes first. A Wildcard equals any one element and
    /// also a missing one; a NaN equals every Float. So with these two the order is not transitive.
    /// @return negative, 0 or positive.
    static int compare(const Item& a, const Item& b);

    /// All elements with their types, for logs: "{<STR:a><INT:5>}". At the first element that has no form
    /// (Pointer, Referee, Wildcard, anything invalid) "<TRAIL:" and the number of bytes left end it.
    String asString() const;
    /// The same for people: "a;INT:5".
    String asBrowsableString() const;

    /// The first element as JSON; further ones are ignored.
    /// @param pretty  true indents by 2 blanks, false gives the compact form.
    /// @return empty for what JSON has no form for. @errors text that is no UTF-8 is logged.
    String getJSON(bool pretty) const;
    /// Becomes one element (two for an object: its Prefix and its SubItem) made from JSON. An escaped zero
    /// character ends the text that it stands in.
    /// @return false for what is not JSON or is nested deeper than kMaxDepth: the Item is empty then, and an
    ///         error is logged.
    bool setJSON(const String& text);

    // --- A key in a store; defined in item_tree.cpp ------------------------------------------------------

    /// Sets the store that the key refers to, which it does not own.
    void setStore(Store* store) { m_store = store; }
    /// The store that the key refers to; null for a plain value.
    Store* getStore() const { return m_store; }
    /// The value at this key, or null. @owner the store's; see Store::get().
    const Item* fetch() const;
    /// Whether the key has a value, be it an empty one.
    bool exists() const;
    /// Stores @p value at this key. Ancestors that are missing get an empty value, in one transaction.
    void store(const Item& value) const;
    /// Removes the node and all that is below it.
    void remove() const;
    /// Begins a transaction of the store.
    void begin() const;
    /// Ends the transaction of the store.
    void commit() const;
    /// Undoes the transaction of the store.
    void rollback() const;
    /// The first child. @return false when there is none or this node does not exist.
    bool child(Item& out) const;
    /// The last child. @return false when there is none or this node does not exist.
    bool lastChild(Item& out) const;
    /// The next sibling. @return false when there is none; @p out may then hold a key outside the parent.
    bool next(Item& out) const;
    /// The previous sibling. @return false when there is none.
    bool prev(Item& out) const;
    /// Moves to the next sibling. @return as next(Item&) const.
    bool next() { return next(*this); }
    /// Moves to the previous sibling. @return as prev(Item&) const.
    bool prev() { return prev(*this); }
    /// Cuts the last element. @return whether there was one.
    bool parent();
    /// Copies the key without its last element, with the store. @return whether there was one.
    bool parent(Item& out) const;
    /// The last element alone, with the store.
    Item trail() const;
    /// Copies the last element, with the store. @return whether there was one.
    bool trail(Item& out) const;
    /// Keeps the first @p depth elements; below 1 none.
    void reduceDepthTo(int depth);
    /// Stores the value of @p source here, if it has one.
    void copyValueFrom(const Item& source) const;
    /// Copies all descendants of @p source, which may live in another store, below this key in a transaction.
    void copyChildrenRecursive(const Item& source) const;
    /// Keeps a copy of the subtree of @p source below this key, under a unique time stamp.
    /// @param type  a word that is kept with it.
    void archive(const char* type, const Item& source);
    /// Removes the copies of archive() older than @p time, a UTC stamp in units of 100 ns.
    void archiveDeleteBefore(int64 time);
    /// Makes @p out this key with a random negative integer appended, so that it does not exist.
    void createUniqueInteger(Item& out) const;
    /// The value behind @p key in a flat list of keys and values; an iterator at the end when it is not
    /// there.
    Iterator kvFind(const char* key) const;
    /// A flat list of the keys and values of a map; each value must hold exactly one element.
    static Item kvFromMap(const Map<String, Item>& map);
    /// The keys and values of a flat list, up to the first that is none.
    /// @owner the values are views, valid as long as this Item is unchanged.
    Map<String, Item> kvToWeakMap() const;

    // --- Packets in a store; defined in store/records/item_packet.cpp ------------------------------------

    /// Stores each field of a packet with a scheme as a child. @errors a packet without scheme is logged.
    void storePacket(const Packet* packet) const;
    /// Fills a packet with a scheme from either form; missing fields keep their defaults.
    /// @return false when there is nothing, or nothing that fits. @errors a packet without scheme is logged.
    bool fetchPacket(Packet* out) const;
    /// Stores a whole packet as one value.
    void storePacketCompact(const Packet* packet) const;
    /// The packet stored by storePacketCompact(), without a scheme; null when there is none.
    SmartPointer<Packet> fetchPacketCompact() const;
    /// A packet of @p scheme from either form; null when there is none or it does not fit.
    SmartPointer<Packet> fetchPacketCompact(PacketScheme* scheme) const;
    /// The same. @param wasCompact  tells which form was found.
    SmartPointer<Packet> fetchPacketCompact(PacketScheme* scheme, bool& wasCompact) const;

    /// Order of compare().
    friend bool operator==(const Item& a, const Item& b) { return compare(a, b) == 0; }
    /// Order of compare().
    friend bool operator!=(const Item& a, const Item& b) { return compare(a, b) != 0; }
    /// Order of compare().
    friend bool operator<(const Item& a, const Item& b) { return compare(a, b) < 0; }
    /// Order of compare().
    friend bool operator<=(const Item& a, const Item& b) { return compare(a, b) <= 0; }
    /// Order of compare().
    friend bool operator>(const Item& a, const Item& b) { return compare(a, b) > 0; }
    /// Order of compare().
    friend bool operator>=(const Item& a, const Item& b) { return compare(a, b) >= 0; }

private:
    static constexpr size_t kInlineSize = 39;

    /// Appends @p count uninitialised bytes and returns the first of them.
    uint8* extend(size_t count) {
        const size_t at = m_size;
        if (at + count > m_capacity) grow(at + count);
        m_size = at + count;
        return m_data + at;
    }
    Item& putTag(ValueType tag) {
        *extend(1) = static_cast<uint8>(tag);
        return *this;
    }
    template <typename T>
    Item& put(ValueType tag, const T& value) {
        uint8* const element = extend(1 + sizeof(T));
        *element = static_cast<uint8>(tag);
        std::memcpy(element + 1, &value, sizeof(T));
        return *this;
    }
    Item& putText(ValueType tag, const char* text, size_t size) {
        if (m_size + size + 2 > m_capacity) return putTextGrowing(tag, text, size);
        uint8* const element = m_data + m_size;
        *element = static_cast<uint8>(tag);
        if (size != 0) std::memcpy(element + 1, text, size);
        element[1 + size] = 0;
        m_size += size + 2;
        return *this;
    }
    Item& putSized(ValueType tag, const uint8* bytes, size_t size);
    Item& putTextGrowing(ValueType tag, const char* text, size_t size);
    Item& setPlainGrowing(const uint8* bytes, size_t size);
    uint8* makeRoomAside(size_t size);
    void grow(size_t size);
    void takeOver(Item& other);

    Store* m_store = nullptr;
    uint8* m_data;
    size_t m_capacity = kInlineSize; // 0 for a view
    size_t m_size = 0;
    uint8 m_inline[kInlineSize];
    bool m_ownsHeap = false;
};

} // namespace qel

#include <qel/store/core/item_iterator.h>
