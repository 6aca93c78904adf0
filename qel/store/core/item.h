// Item: a list of typed elements in one byte string; the value, key and argument list of the data model.
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

/// A byte string that contains a list of self-describing elements: a tuple. The same type is used for keys in
/// a Store (paths, with one element per level), values in a Store, the arguments and the result of a remote
/// call, and fields of a Packet. Its plain bytes are what is stored and sent; docs/formats.md describes their
/// format.
/// || Writing functions append an element and can be chained; an Item::Iterator reads elements. Bytes that do
/// not form a valid element end the list without an error. Where elements nest, lists more than kMaxDepth
/// levels down are treated as malformed.
/// || Up to 39 bytes are stored inside the Item. A view (ExternalBufferMode) points to bytes that it does not
/// own and that must outlive it; the first write to the view copies them. Operations that access a Store
/// require a key whose store is set, which is not checked; they are defined in item_tree.cpp.
/// @threads a value: one thread at a time.
class QEL_API Item {
    QEL_VALUE_CLASS(Item)

public:
    class Iterator;

    /// The types of the tags that select a constructor.
    struct PlainModeTag {};
    struct ExternalBufferModeTag {};     ///< @copydoc PlainModeTag
    struct FastExternalBufferModeTag {}; ///< @copydoc PlainModeTag
    struct NILTypeTag {};                ///< @copydoc PlainModeTag
    struct WildcardModeTag {};           ///< @copydoc PlainModeTag
    /// The given bytes are an encoded list and are copied unchanged.
    static constexpr PlainModeTag PlainMode{};
    /// The given bytes are an encoded list that the Item refers to.
    static constexpr ExternalBufferModeTag ExternalBufferMode{};
    /// Like ExternalBufferMode. To turn an existing Item into a view, use setPlainExternalBuffer().
    static constexpr FastExternalBufferModeTag FastExternalBufferMode{};
    /// The Item contains one NIL.
    static constexpr NILTypeTag NILType{};
    /// The Item contains one Wildcard.
    static constexpr WildcardModeTag WildcardMode{};

    /// The deepest nesting that compare(), the text forms, JSON and script values process: the list of an
    /// Item is level 0, that of a SubItem in it is level 1. A list below this level is read as if its bytes
    /// had ended.
    static constexpr int kMaxDepth = 4096;
    /// The text of the Prefix in front of a list of keys and values.
    static constexpr const char* kTablePrefix = "table";
    /// The text of the Prefix in front of the code of a script function.
    static constexpr const char* kScriptPrefix = "squirrel";

    /// Creates an empty list.
    Item() noexcept : m_data(m_inline) {}
    /// Creates the root key of @p store, which it does not own.
    explicit Item(Store* store) noexcept : m_store(store), m_data(m_inline) {}
    /// Creates a list of one String. @param text  null is treated as empty.
    Item(const char* text) : Item() { addString(SmartCStr(text)); }
    /// Creates a list of one String. @copydetails addString(const std::string&)
    Item(const std::string& text) : Item() { addString(text); }
    /// Creates a list of one integer in the narrowest form.
    template <std::integral T>
    requires(!std::same_as<T, bool>) Item(T value) : Item() { addInteger(static_cast<int64>(value)); }
    /// Creates a list of one GUID.
    Item(const GUID& guid) : Item() { addGUID(guid); }
    /// Creates a list of the elements that addSquirrel() appends. Defined in script/item_script.cpp.
    explicit Item(const qelSq::Object& value);
    /// Creates a list of one Buffer that contains the bytes.
    Item(const uint8* bytes, size_t size) : Item() { addBuffer(bytes, size); }
    /// Creates a list of one Buffer that contains the bytes.
    explicit Item(ConstByteSpan bytes) : Item(bytes.data, bytes.size) {}
    /// Copies an encoded list.
    Item(PlainModeTag, const uint8* bytes, size_t size) : Item() { setPlain(bytes, size); }
    /// Copies an encoded list.
    Item(PlainModeTag, ConstByteSpan bytes) : Item() { setPlain(bytes.data, bytes.size); }
    /// Creates a view of an encoded list. @owner the bytes must outlive the view.
    Item(ExternalBufferModeTag, const uint8* bytes, size_t size) noexcept
        : m_data(const_cast<uint8*>(bytes)), m_capacity(0), m_size(size) {}
    /// @copydoc Item(ExternalBufferModeTag, const uint8*, size_t)
    Item(ExternalBufferModeTag, ConstByteSpan bytes) noexcept
        : Item(ExternalBufferMode, bytes.data, bytes.size) {}
    /// @copydoc Item(ExternalBufferModeTag, const uint8*, size_t)
    Item(FastExternalBufferModeTag, const uint8* bytes, size_t size) noexcept
        : Item(ExternalBufferMode, bytes, size) {}
    /// Creates a list of one NIL.
    explicit Item(NILTypeTag) : Item() { addNIL(); }
    /// Creates a list of one Wildcard.
    explicit Item(WildcardModeTag) : Item() { addWildcard(); }
    /// Copies the bytes, including those of a view, and the store.
    Item(const Item& other) : m_store(other.m_store), m_data(m_inline) {
        setPlain(other.m_data, other.m_size);
    }
    /// Takes over a heap block, which leaves @p other empty; otherwise copies the bytes.
    /// @errors running out of memory while the bytes of a view are copied ends the process.
    Item(Item&& other) noexcept : m_store(other.m_store), m_data(m_inline) { takeOver(other); }
    /// Copies the bytes, including those of a view, and the store.
    Item& operator=(const Item& other) {
        m_store = other.m_store;
        return setPlain(other.m_data, other.m_size);
    }
    /// Takes over a heap block, which leaves @p other empty; otherwise copies the bytes.
    /// @errors as the constructor.
    Item& operator=(Item&& other) noexcept {
        if (this == &other) return *this;
        m_store = other.m_store;
        takeOver(other);
        return *this;
    }
    /// Frees the heap block if there is one.
    ~Item() {
        if (m_ownsHeap) std::free(m_data);
    }

    // --- Writing: each function appends one element and returns the Item ---------------------------------

    /// Appends a SubItem with the plain bytes of @p item, which may be this Item.
    /// @errors an item of 4 GiB or more cannot be an element; nothing is appended. This applies to all
    /// payloads.
    Item& add(const Item& item) { return addItem(item); }
    /// Appends a GUID.
    Item& add(const GUID& guid) { return addGUID(guid); }
    /// Appends a String. @copydetails addString(const std::string&)
    Item& add(const std::string& text) { return addString(text); }
    /// Appends a String.
    Item& add(SmartCStr text) { return addString(text); }
    /// Appends a String.
    Item& add(const StringId& text);
    /// Appends a String. @param text  null is treated as empty.
    Item& add(const char* text) { return addString(SmartCStr(text)); }
    /// Appends one String that contains @p a followed by @p b; null is treated as empty.
    Item& add(const char* a, const char* b);
    /// Appends the narrowest integer; unsigned 64-bit values keep their bits.
    template <std::integral T>
    requires(!std::same_as<T, bool>) Item& add(T value) { return addInteger(static_cast<int64>(value)); }
    /// Appends a Float.
    template <std::floating_point T>
    Item& add(T value) {
        return addFloat(static_cast<double>(value));
    }
    /// Appends True or False.
    template <std::same_as<bool> T>
    Item& add(T value) {
        return addBool(value);
    }

    /// @copydoc add(const Item&)
    Item& addItem(const Item& item) { return putSized(ValueType::SubItem, item.m_data, item.m_size); }
    /// Appends a GUID.
    Item& addGUID(const GUID& guid) { return put(ValueType::GUID, guid.bytes); }
    /// Appends a String with all bytes of @p text. A zero byte in them ends the element early: a reader takes
    /// the bytes after it for further elements, so texts from outside must use the SmartCStr form, which
    /// stops there.
    Item& addString(const std::string& text) { return putText(ValueType::String, text.data(), text.size()); }
    /// Appends a String.
    Item& addString(SmartCStr text) { return putText(ValueType::String, text.c_str(), text.size()); }
    /// Appends a String. @param text  null is treated as empty.
    Item& addString(const char* text) { return addString(SmartCStr(text)); }
    /// Appends the narrowest of Integer8, Integer16, Integer32 and Integer64 that can represent the value.
    Item& addInteger(int64 value) {
        if (value == static_cast<int8>(value)) return put(ValueType::Integer8, static_cast<int8>(value));
        if (value == static_cast<int16>(value)) return put(ValueType::Integer16, static_cast<int16>(value));
        if (value == static_cast<int32>(value)) return put(ValueType::Integer32, static_cast<int32>(value));
        return addInteger64(value);
    }
    /// Appends an Integer64, whatever the value.
    Item& addInteger64(int64 value) { return put(ValueType::Integer64, value); }
    /// Appends a Float.
    Item& addFloat(double value) { return put(ValueType::Float, value); }
    /// Appends True or False.
    Item& addBool(bool value) { return putTag(value ? ValueType::True : ValueType::False); }
    /// Appends True.
    Item& addTrue() { return putTag(ValueType::True); }
    /// Appends False.
    Item& addFalse() { return putTag(ValueType::False); }
    /// Appends NIL.
    Item& addNIL() { return putTag(ValueType::NIL); }
    /// Appends a Wildcard.
    Item& addWildcard() { return putTag(ValueType::Wildcard); }
    /// Appends Meta: the bound after all descendants of a key.
    Item& addMeta() { return putTag(ValueType::Meta); }
    /// Appends End: the bound after all descendants of a key and its Meta.
    Item& addEnd() { return putTag(ValueType::End); }
    /// Appends a Buffer.
    Item& addBuffer(const Buffer& buffer);
    /// Appends a Buffer.
    Item& addBuffer(const uint8* bytes, size_t size) { return putSized(ValueType::Buffer, bytes, size); }
    /// Appends a Buffer.
    Item& addBuffer(ConstByteSpan bytes) { return addBuffer(bytes.data, bytes.size); }
    /// Appends a Pointer with the plain bytes of a key.
    Item& addPointer(const Item& key) { return addPointer(key.m_data, key.m_size); }
    /// Appends a Pointer.
    Item& addPointer(const uint8* bytes, size_t size) { return putSized(ValueType::Pointer, bytes, size); }
    /// Appends a Prefix.
    Item& addPrefix(SmartCStr text) { return putText(ValueType::Prefix, text.c_str(), text.size()); }
    /// Appends a Referee.
    Item& addReferee(const uint8* bytes, size_t size) { return putSized(ValueType::Referee, bytes, size); }
    /// Appends a GUID if the text begins with GUID::kTextPrefix, else a String. If the rest after the prefix
    /// is not the text form of a GUID, the zero GUID is appended.
    Item& addStringOrEncodedGUID(const String& text);
    /// Appends the elements of a script value: NIL, True, False, integer, Float or String; Prefix "table" and
    /// a SubItem of keys and values; a SubItem for an array; Prefix "squirrel" and a Buffer of bytecode for a
    /// closure, or a NIL instead of the Buffer; a GUID for an instance of that class. Appends NIL for
    /// anything else, for a container inside itself and for one nested deeper than kMaxDepth. A zero byte
    /// ends a text. Defined in script/item_script.cpp.
    /// @threads main thread.
    Item& addSquirrel(const qelSq::Object& value);
    /// Appends the plain bytes of @p item, so that its elements become part of this list.
    Item& concatItem(const Item& item);
    /// Begins a SubItem in place: everything written before closeSubItem() becomes its elements.
    /// @return the argument for closeSubItem().
    size_t openSubItem();
    /// Ends the SubItem begun by openSubItem(). A SubItem of 4 GiB or more is replaced with a NIL.
    Item& closeSubItem(size_t begin);

    // --- Plain bytes --------------------------------------------------------------------------------------

    /// Returns the encoded list; null only for a view of null. @owner valid until the Item changes.
    const uint8* getPlainBytePointer() const { return m_data; }
    /// Returns the number of bytes in the encoded list.
    size_t getPlainSize() const { return m_size; }
    /// Returns the encoded list. @owner valid until the Item changes.
    ConstByteSpan getConstByteSpan() const { return {m_data, m_size}; }
    /// Replaces the bytes with those of @p other; the store is kept.
    Item& setPlain(const Item& other) { return setPlain(other.m_data, other.m_size); }
    /// Replaces the bytes with a copy of @p bytes, which may lie in this Item; the store is kept.
    Item& setPlain(const uint8* bytes, size_t size) {
        if (size > m_capacity) return setPlainGrowing(bytes, size);
        if (size != 0) std::memmove(m_data, bytes, size);
        m_size = size;
        return *this;
    }
    /// Becomes a view and frees the heap block if there is one; the store is kept.
    /// @owner the bytes must outlive the view and must not lie in this Item.
    void setPlainExternalBuffer(const uint8* bytes, size_t size) {
        if (m_ownsHeap) std::free(m_data);
        m_data = const_cast<uint8*>(bytes);
        m_capacity = 0;
        m_size = size;
        m_ownsHeap = false;
    }
    /// Sets the size. New bytes are uninitialised. A view is copied first, unless the size is 0.
    /// @return the bytes, for writing.
    uint8* resizePlain(size_t size) {
        if (size > m_capacity) {
            m_size = std::min(m_size, size); // all that is copied of a view
            grow(size);
        }
        m_size = size;
        return m_data;
    }
    /// Reserves memory for @p size bytes in total.
    void reservePlainTotal(size_t size) {
        if (size > m_capacity) grow(std::max(size, m_size));
    }
    /// Removes all elements; memory and store are kept.
    void clear() { m_size = 0; }
    /// Returns true if there are no bytes.
    bool empty() const { return m_size == 0; }
    /// Returns true if there are bytes.
    explicit operator bool() const { return m_size != 0; }

    /// Returns the plain bytes as upper-case hexadecimal digits.
    String getBase16() const;
    /// Replaces the plain bytes with the decoded text.
    /// @return false if the text cannot be decoded. The Item is then empty, or unchanged if the length alone
    /// is invalid.
    bool setBase16(const String& text);
    /// Returns the plain bytes in base 64 with the URL-safe alphabet, without padding.
    String getBase64() const;
    /// @copydoc setBase16
    bool setBase64(const String& text);
    /// Returns the plain bytes in self-checking base 64; see String::encodeBase64crc().
    String getBase64crc() const;
    /// @copydoc setBase16
    bool setBase64crc(const String& text);

    // --- Reading ------------------------------------------------------------------------------------------

    /// Returns an iterator at the first element. @owner the Item must outlive it and not change while it is
    /// used.
    Iterator getIterator() const;
    /// Returns the number of elements.
    int getDepth() const;
    /// Returns true if the list, or a list nested in it, contains a Prefix "squirrel" with a Buffer: a
    /// closure's bytecode, which must never be accepted from outside the process. Pointers and Referees are
    /// not searched.
    bool hasScriptCode() const;

    /// Compares keys element by element. Integers of all widths are compared by value, other types are
    /// ordered by their tags, and a list that is a prefix of another comes first. A Wildcard equals any one
    /// element and also a missing one; a NaN equals every Float. With these two the order is not transitive.
    /// @return negative, 0 or positive.
    static int compare(const Item& a, const Item& b);

    /// Returns all elements with their types, for logs: "{<STR:a><INT:5>}". At the first element without a
    /// text form (Pointer, Referee, Wildcard, anything invalid) the text ends with "<TRAIL:" and the number
    /// of remaining bytes.
    String asString() const;
    /// Returns the elements in a form for users: "a;INT:5".
    String asBrowsableString() const;

    /// Returns the first element as JSON; further ones are ignored.
    /// @param pretty  true to indent by 2 spaces, false for the compact form.
    /// @return empty for an element that JSON cannot represent. @errors text that is not valid UTF-8 is
    /// logged.
    String getJSON(bool pretty) const;
    /// Replaces the list with one element (two for an object: its Prefix and its SubItem) created from JSON.
    /// An escaped zero character ends the text that contains it.
    /// @return false if the text is not JSON or is nested deeper than kMaxDepth: the Item is then empty, and
    /// an error is logged.
    bool setJSON(const String& text);

    // --- A key in a store; defined in item_tree.cpp ------------------------------------------------------

    /// Sets the store to which the key refers; it does not own it.
    void setStore(Store* store) { m_store = store; }
    /// Returns the store to which the key refers; null for a plain value.
    Store* getStore() const { return m_store; }
    /// Returns the value at this key; null if the key is not stored. @owner the store's; see Store::get().
    const Item* fetch() const;
    /// Returns true if the key has a value, even an empty one.
    bool exists() const;
    /// Stores @p value at this key. Missing ancestors are created with an empty value, in one transaction.
    void store(const Item& value) const;
    /// Removes the node and all its descendants.
    void remove() const;
    /// Begins a transaction of the store.
    void begin() const;
    /// Commits the transaction of the store.
    void commit() const;
    /// Rolls back the transaction of the store.
    void rollback() const;
    /// Finds the first child. @return false if this node has no child or does not exist.
    bool child(Item& out) const;
    /// Finds the last child. @return false if this node has no child or does not exist.
    bool lastChild(Item& out) const;
    /// Finds the next sibling. @return false after the last one; @p out may then be a key outside the parent.
    bool next(Item& out) const;
    /// Finds the previous sibling. @return false before the first one.
    bool prev(Item& out) const;
    /// Moves to the next sibling. @return as next(Item&) const.
    bool next() { return next(*this); }
    /// Moves to the previous sibling. @return as prev(Item&) const.
    bool prev() { return prev(*this); }
    /// Removes the last element. @return true if there was one.
    bool parent();
    /// Copies the key without its last element, with the store. @return true if there was one.
    bool parent(Item& out) const;
    /// Returns the last element by itself, with the store.
    Item trail() const;
    /// Copies the last element, with the store. @return true if there was one.
    bool trail(Item& out) const;
    /// Keeps the first @p depth elements; none if it is below 1.
    void reduceDepthTo(int depth);
    /// Stores the value of @p source here if it has one.
    void copyValueFrom(const Item& source) const;
    /// Copies all descendants of @p source, which may be in another store, below this key in one transaction.
    void copyChildrenRecursive(const Item& source) const;
    /// Stores a copy of the subtree of @p source below this key, under a unique time stamp.
    /// @param type  a word that is stored with the copy.
    void archive(const char* type, const Item& source);
    /// Removes the copies that archive() stored before @p time, a UTC stamp in units of 100 ns.
    void archiveDeleteBefore(int64 time);
    /// Sets @p out to this key with a random negative integer appended, such that it does not exist.
    void createUniqueInteger(Item& out) const;
    /// Returns the position of the value after @p key in a flat list of keys and values; the end if it is not
    /// there.
    Iterator kvFind(const char* key) const;
    /// Creates a flat list of the keys and values of a map; each value must contain exactly one element.
    static Item kvFromMap(const Map<String, Item>& map);
    /// Returns the keys and values of a flat list, up to the first invalid one.
    /// @owner the values are views; they are valid while this Item is unchanged.
    Map<String, Item> kvToWeakMap() const;

    // --- Packets in a store; defined in store/records/item_packet.cpp ------------------------------------

    /// Stores each field of a packet with a scheme as a child. @errors a packet without a scheme is logged.
    void storePacket(const Packet* packet) const;
    /// Fills in a packet with a scheme from either form; missing fields keep their defaults.
    /// @return false if nothing is stored, or nothing that fits. @errors a packet without a scheme is logged.
    bool fetchPacket(Packet* out) const;
    /// Stores a whole packet as one value.
    void storePacketCompact(const Packet* packet) const;
    /// Returns the packet stored by storePacketCompact(), without a scheme; null if none was stored.
    SmartPointer<Packet> fetchPacketCompact() const;
    /// Returns a packet of @p scheme from either form; null if none was stored or it does not fit.
    SmartPointer<Packet> fetchPacketCompact(PacketScheme* scheme) const;
    /// Does the same. @param wasCompact  receives true if the compact form was found.
    SmartPointer<Packet> fetchPacketCompact(PacketScheme* scheme, bool& wasCompact) const;

    /// Compares as compare() does.
    friend bool operator==(const Item& a, const Item& b) { return compare(a, b) == 0; }
    /// Compares as compare() does.
    friend bool operator!=(const Item& a, const Item& b) { return compare(a, b) != 0; }
    /// Compares as compare() does.
    friend bool operator<(const Item& a, const Item& b) { return compare(a, b) < 0; }
    /// Compares as compare() does.
    friend bool operator<=(const Item& a, const Item& b) { return compare(a, b) <= 0; }
    /// Compares as compare() does.
    friend bool operator>(const Item& a, const Item& b) { return compare(a, b) > 0; }
    /// Compares as compare() does.
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
