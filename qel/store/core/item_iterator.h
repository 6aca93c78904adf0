// Item::Iterator: reads the elements of an Item in order.
#pragma once

#include <qel/store/core/item.h>

namespace qelSq {
class Object;
}

namespace qel {

/// The treatment of script code by a reader.
enum class ScriptCode {
    Accept, ///< closures are built from their bytecode; only for Items of this process
    Refuse  ///< a closure is treated as a mismatch; for anything from a peer, a worker or a file
};

/// A position in the list of an Item. Each typed read returns the next element if it has the right type, and
/// moves past it; otherwise it changes neither the position nor the output and returns false (or null). The
/// end, a malformed element and a truncated one are treated alike: there is no next element.
/// @owner holds no copy: the Item must outlive it and must not change while it is used.
/// @threads as the Item.
class QEL_API Item::Iterator {
    QEL_VALUE_CLASS(Iterator)

public:
    /// Starts at the first element of @p item.
    explicit Iterator(const Item& item) : m_item(&item) {}
    /// Starts at byte @p offset, where an element begins; an offset outside the bytes is the end.
    Iterator(const Item& item, int64 offset) : m_item(&item), m_offset(offset) {}

    /// Returns the number of bytes from the beginning of the Item.
    int64 getOffset() const { return m_offset; }
    /// Returns true if a valid element follows.
    bool hasNextElement() const { return elementSize() != 0; }
    /// Returns the size of the next element including its tag; 0 at the end.
    size_t getSize() const { return elementSize(); }
    /// Returns the tag of the next element; None at the end.
    ValueType getType() const {
        return elementSize() != 0 ? static_cast<ValueType>(*here()) : ValueType::None;
    }
    /// Skips @p count elements. @return false as soon as one is missing; the position is then before it.
    bool skip(int count = 1);
    /// Moves to the end of the bytes.
    void skipToEnd() { m_offset = static_cast<int64>(m_item->getPlainSize()); }
    /// Replaces the bytes of @p target with the whole next element, including its tag.
    /// @return its tag; None, with @p target unchanged, at the end.
    ValueType extract(Item& target);

    /// Reads True or False.
    bool asBool(bool& value);
    /// Reads an integer of any width and truncates it to its low 32 bits.
    bool asInteger(int32& value) { return readInteger(value); }
    /// Reads an integer of any width.
    bool asInteger(int64& value) { return readInteger(value); }
    /// Reads an integer of any width; a negative one keeps its bits.
    bool asInteger(uint64& value) { return readInteger(value); }
    /// Reads a Float; an integer is a mismatch.
    bool asFloat(float& value);
    /// @copydoc asFloat(float&)
    bool asFloat(double& value) { return readFixed(ValueType::Float, value); }
    /// Copies the text of a String or Prefix.
    bool asString(String& text);
    /// Reads a String or Prefix as an identifier.
    bool asStringId(StringId& text);
    /// Returns the text of a String or Prefix as a pointer into the Item; null on a mismatch.
    const char* asWeakCStr() {
        size_t size;
        return readText(size);
    }
    /// Copies the bytes of a Buffer.
    bool asBuffer(Buffer& buffer);
    /// Returns the bytes of a Buffer inside the Item.
    bool asWeakBuffer(ConstByteSpan& bytes) { return readSized(ValueType::Buffer, bytes); }
    /// @copydoc asWeakBuffer(ConstByteSpan&)
    bool asWeakBuffer(const uint8*& bytes, size_t& size);
    /// Returns the bytes of a Pointer inside the Item.
    bool asWeakPointer(ConstByteSpan& bytes) { return readSized(ValueType::Pointer, bytes); }
    /// Reads a GUID.
    bool asGUID(GUID& guid) { return readFixed(ValueType::GUID, guid.bytes); }
    /// Reads a NIL.
    bool asNIL();
    /// Copies the list of a SubItem. Here and in the next two functions, a @p target without a store receives
    /// the store of the Item. @p target may be the Item itself.
    bool asSubItem(Item& target);
    /// Makes @p target a view of the list of a SubItem; a copy if it is the Item itself.
    bool asWeakSubItem(Item& target);
    /// Makes @p target a view of the whole next element including its tag; a copy if it is the Item itself.
    bool asWeakItemView(Item& target);
    /// Clears both outputs, then reads a String or Prefix, or a GUID.
    bool asStringOrGUID(String& text, GUID& guid);
    /// Reads a Prefix "table" and the SubItem after it, and replaces the content of @p table with its keys
    /// and values: pointers and views into the Item. If a key occurs several times, the last one is used. The
    /// first key that is not text, and the first missing value, end the table without an error.
    bool asWeakTable(Map<SmartCStr, Item>& table);
    /// Reverses Item::addSquirrel(). A Buffer, a Pointer and a truncated table have no script form. On
    /// failure neither the position nor the value changes.
    /// @param code  what to do with closures: bytecode is trusted like native code.
    /// @threads main thread. Defined in script/item_script.cpp.
    bool asSquirrel(qelSq::Object& value, ScriptCode code = ScriptCode::Accept);

    /// Converts to bool: a bool itself; a number is true unless it is zero; any text (even "false"), Buffer,
    /// SubItem or GUID is true.
    bool convertAsBool(bool& value);
    /// Converts to an integer: an integer itself; a Float truncated towards zero and clamped to the range of
    /// the type; a text read as decimal, 0 if it is not a number; a bool as 1 or 0.
    bool convertAsInteger(int64& value);
    /// Converts as the form with int64, truncated to the low 32 bits.
    bool convertAsInteger(int32& value);
    /// Converts as the form with int64, with the same bits.
    bool convertAsInteger(uint64& value);
    /// Converts to a number: a Float or integer itself; a bool as 1 or 0; a text read as a number, 0 if it is
    /// not one.
    bool convertAsFloat(double& value);
    /// Converts to text: a text itself; a Float with six significant digits; an integer in decimal; "true" or
    /// "false"; GUID::kTextPrefix and the text form of a GUID.
    bool convertAsString(String& text);
    /// Converts as the form with an output; on a mismatch it returns false and skips one element.
    bool convertAsBool() { return convertOrSkip<bool>(&Iterator::convertAsBool); }
    /// Converts as the form with an output; on a mismatch it returns 0 and skips one element.
    int64 convertAsInteger() { return convertOrSkip<int64>(&Iterator::convertAsInteger); }
    /// Converts as the form with an output; on a mismatch it returns 0 and skips one element.
    double convertAsFloat() { return convertOrSkip<double>(&Iterator::convertAsFloat); }
    /// Converts as the form with an output; on a mismatch it returns an empty text and skips one element.
    String convertAsString() { return convertOrSkip<String>(&Iterator::convertAsString); }

private:
    const uint8* here() const { return m_item->m_data + m_offset; }
    /// Returns the number of bytes after the position; 0 also for an offset outside the Item.
    size_t available() const {
        const auto offset = static_cast<uint64>(m_offset);
        return offset < m_item->m_size ? m_item->m_size - offset : 0;
    }
    size_t elementSize() const {
        const size_t left = available();
        return left != 0 ? internal::getElementSize(here(), left) : 0;
    }
    /// Returns the tag of the next element, complete or not; None after the bytes.
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
    /// Reads the text of a String or Prefix and its size without the zero byte.
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
    /// Reads the payload of an element that begins with its size.
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
