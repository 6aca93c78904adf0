// Item::Iterator: reads the elements of an Item in their order.
#pragma once

#include <qel/store/core/item.h>

namespace qelSq {
class Object;
}

namespace qel {

/// Whether a reader accepts code for the script machine.
enum class ScriptCode {
    Accept, ///< closures are built from their bytecode; only for Items of this process
    Refuse  ///< a closure is a mismatch; for whatever came from a peer, a worker or a file
};

/// A position in the list of an Item. Each typed read takes the next element if it has the right type, and
/// steps over it; else it leaves the position and the output alone and returns false (or null). The end, a
/// malformed element and a cut one are the same: there is no next element.
/// @owner holds no copy: the Item must outlive it and must not change while it is used.
/// @threads as the Item.
class QEL_API Item::Iterator {
    QEL_VALUE_CLASS(Iterator)

public:
    /// Stands on the first element of @p item.
    explicit Iterator(const Item& item) : m_item(&item) {}
    /// Stands at byte @p offset, where an element begins; an offset outside the bytes is the end.
    Iterator(const Item& item, int64 offset) : m_item(&item), m_offset(offset) {}

    /// Bytes from the beginning of the Item.
    int64 getOffset() const { return m_offset; }
    /// Whether a valid element follows.
    bool hasNextElement() const { return elementSize() != 0; }
    /// Size of the next element with its tag; 0 if there is none.
    size_t getSize() const { return elementSize(); }
    /// Tag of the next element; None if there is none.
    ValueType getType() const {
        return elementSize() != 0 ? static_cast<ValueType>(*here()) : ValueType::None;
    }
    /// Steps over @p count elements. @return false as soon as one is missing; the position is then before it.
    bool skip(int count = 1);
    /// Steps behind all bytes.
    void skipToEnd() { m_offset = static_cast<int64>(m_item->getPlainSize()); }
    /// Copies the whole next element, its tag included, in place of the bytes of @p target.
    /// @return its tag; None, with @p target unchanged, if there is none.
    ValueType extract(Item& target);

    /// True or False.
    bool asBool(bool& value);
    /// An integer of any width, cut to its low 32 bits.
    bool asInteger(int32& value) { return readInteger(value); }
    /// An integer of any width.
    bool asInteger(int64& value) { return readInteger(value); }
    /// An integer of any width; a negative one keeps its bits.
    bool asInteger(uint64& value) { return readInteger(value); }
    /// A Float; an integer is a mismatch.
    bool asFloat(float& value);
    /// @copydoc asFloat(float&)
    bool asFloat(double& value) { return readFixed(ValueType::Float, value); }
    /// A copy of a String or Prefix.
    bool asString(String& text);
    /// A String or Prefix as an identifier.
    bool asStringId(StringId& text);
    /// A String or Prefix as a pointer into the Item; null on a mismatch.
    const char* asWeakCStr() {
        size_t size;
        return readText(size);
    }
    /// A copy of the bytes of a Buffer.
    bool asBuffer(Buffer& buffer);
    /// The bytes of a Buffer inside the Item.
    bool asWeakBuffer(ConstByteSpan& bytes) { return readSized(ValueType::Buffer, bytes); }
    /// @copydoc asWeakBuffer(ConstByteSpan&)
    bool asWeakBuffer(const uint8*& bytes, size_t& size);
    /// The bytes of a Pointer inside the Item.
    bool asWeakPointer(ConstByteSpan& bytes) { return readSized(ValueType::Pointer, bytes); }
    /// A GUID.
    bool asGUID(GUID& guid) { return readFixed(ValueType::GUID, guid.bytes); }
    /// A NIL.
    bool asNIL();
    /// Copies the list of a SubItem. A @p target without store takes the store of the Item, here as in the
    /// two that follow. It may be the Item itself.
    bool asSubItem(Item& target);
    /// Makes @p target a view of the list of a SubItem; a copy, if it is the Item itself.
    bool asWeakSubItem(Item& target);
    /// Makes @p target a view of the whole next element, its tag included; a copy, if it is the Item itself.
    bool asWeakItemView(Item& target);
    /// Clears both, then takes a String or Prefix, or a GUID.
    bool asStringOrGUID(String& text, GUID& guid);
    /// Takes a Prefix "table" and the SubItem behind it, and replaces the content of @p table by its keys and
    /// values: pointers and views into the Item. Of equal keys the last counts; the first key that is no
    /// text, and the first value that is missing, end the table silently.
    bool asWeakTable(Map<SmartCStr, Item>& table);
    /// The inverse of Item::addSquirrel(). A Buffer, a Pointer and a table that breaks off have no script
    /// form. A failure leaves position and value alone.
    /// @param code  what to do with closures: bytecode is trusted like native code.
    /// Defined in script/item_script.cpp. @threads main thread.
    bool asSquirrel(qelSq::Object& value, ScriptCode code = ScriptCode::Accept);

    /// A bool; a number that is not zero; any text (also "false"), Buffer, SubItem or GUID is true.
    bool convertAsBool(bool& value);
    /// An integer; a Float cut towards zero, inside the range of the type; a text read as decimal, 0 if it is
    /// none; a bool as 1 or 0.
    bool convertAsInteger(int64& value);
    /// As the signed form, cut to the low 32 bits.
    bool convertAsInteger(int32& value);
    /// As the signed form, with the same bits.
    bool convertAsInteger(uint64& value);
    /// A Float; an integer; a bool as 1 or 0; a text read as a number, 0 if it is none.
    bool convertAsFloat(double& value);
    /// A text; a Float with six significant digits; an integer in decimal; "true" or "false";
    /// GUID::kTextPrefix and the text of a GUID.
    bool convertAsString(String& text);
    /// As the form with an output; a mismatch gives false and skips one element.
    bool convertAsBool() { return convertOrSkip<bool>(&Iterator::convertAsBool); }
    /// As the form with an output; a mismatch gives 0 and skips one element.
    int64 convertAsInteger() { return convertOrSkip<int64>(&Iterator::convertAsInteger); }
    /// As the form with an output; a mismatch gives 0 and skips one element.
    double convertAsFloat() { return convertOrSkip<double>(&Iterator::convertAsFloat); }
    /// As the form with an output; a mismatch gives the empty text and skips one element.
    String convertAsString() { return convertOrSkip<String>(&Iterator::convertAsString); }

private:
    const uint8* here() const { return m_item->m_data + m_offset; }
    /// Bytes behind the position; 0 also for an offset outside of the Item.
    size_t available() const {
        const auto offset = static_cast<uint64>(m_offset);
        return offset < m_item->m_size ? m_item->m_size - offset : 0;
    }
    size_t elementSize() const {
        const size_t left = available();
        return left != 0 ? internal::getElementSize(here(), left) : 0;
    }
    /// The tag of the next element, whole or cut; None behind the bytes.
    ValueType tag() const { return available() != 0 ? static_cast<ValueType>(*here()) : ValueType::None; }
    bool isNext(ValueType type, size_t size) const { return tag() == type && available() >= size; }
    void advance(size_t size) { m_offset += static_cast<int64>(size); }

    template <typename T>
    bool readFixed(ValueType type, T& value) {
        if (!isNext(type, 1 + sizeof(T))) return false;
        std::memcpy(&value, here() + 1, sizeof(T));
        advance(1 + sizeof(T));
        return true;
    }
    template <typename Stored, typename T>
    bool readIntegerAs(ValueType type, T& value) {
        Stored stored;
        if (!readFixed(type, stored)) return false;
        value = static_cast<T>(stored);
        return true;
    }
    template <typename T>
    bool readInteger(T& value) {
        switch (tag()) {
        case ValueType::Integer8:
            return readIntegerAs<int8>(ValueType::Integer8, value);
        case ValueType::Integer16:
            return readIntegerAs<int16>(ValueType::Integer16, value);
        case ValueType::Integer32:
            return readIntegerAs<int32>(ValueType::Integer32, value);
        case ValueType::Integer64:
            return readIntegerAs<int64>(ValueType::Integer64, value);
        default:
            return false;
        }
    }
    /// The text of a String or Prefix and its size without the zero byte.
    const char* readText(size_t& size) {
        const ValueType type = tag();
        if (type != ValueType::String && type != ValueType::Prefix) return nullptr;
        const size_t whole = elementSize();
        if (whole == 0) return nullptr;
        const char* const text = reinterpret_cast<const char*>(here() + 1);
        size = whole - 2;
        advance(whole);
        return text;
    }
    /// The payload of an element that begins with its size.
    bool readSized(ValueType type, ConstByteSpan& payload) {
        if (tag() != type) return false;
        const size_t whole = elementSize();
        if (whole == 0) return false;
        payload = {here() + 5, whole - 5};
        advance(whole);
        return true;
    }
    void inheritStore(Item& target) const;
    void view(Item& target, ConstByteSpan bytes) const;
    template <typename T>
    T convertOrSkip(bool (Iterator::*convert)(T&)) {
        T value{};
        if (!(this->*convert)(value)) skip(1);
        return value;
    }

    const Item* m_item;
    int64 m_offset = 0;
};

inline Item::Iterator Item::getIterator() const {
    return Iterator(*this);
}

} // namespace qel
