"""Pretty printers of gdb for the value types of the library. gdb loads this file together with the library.

They read the memory of a process that may be damaged: every address and size is checked by reading, at most
LARGEST_READ bytes are read, and what can't be read is printed as such.
"""

import struct

import gdb
import gdb.printing

LARGEST_READ = 1 << 20
DEEPEST_ITEM = 16 # levels of nested Items that are printed
COUNT_OFFSET = 16 # of the number of references within an Object, whose members only the library's debug information has
SHORT_ESCAPES = {"\n": "\\n", "\t": "\\t", "\r": "\\r", '"': '\\"', "\\": "\\\\"}


def element_limit():
    """Returns the number of characters, bytes or elements that the user wants to see of one value."""
    limit = gdb.parameter("print elements")
    return min(limit or LARGEST_READ, LARGEST_READ)


def read(address, size):
    """Returns the bytes at an address. Raises gdb.MemoryError if they cannot be read."""
    return bytes(gdb.selected_inferior().read_memory(address, size)) if size else b""


def escaped(character):
    """Returns a character as the terminal can show it. Bytes that are not UTF-8 appear as \\xNN."""
    code = ord(character)
    if 0xDC80 <= code <= 0xDCFF: # how the decoder passes on such a byte
        return f"\\x{code - 0xDC00:02x}"
    if character in SHORT_ESCAPES:
        return SHORT_ESCAPES[character]
    if not character.isprintable():
        return f"\\x{code:02x}" if code < 0x100 else f"\\U{code:08x}"
    return character


def quoted(text, is_cut=False):
    """Returns UTF-8 as a literal, with "..." after it if there are more bytes."""
    shown = "".join(escaped(c) for c in text.decode("utf-8", "surrogateescape"))
    try:
        charset = gdb.target_charset()
        shown = shown.encode(charset, "backslashreplace").decode(charset)
    except LookupError:
        shown = shown.encode("ascii", "backslashreplace").decode("ascii")
    return f'"{shown}"' + ("..." if is_cut else "")


def quoted_at(address, size):
    """Returns the text at an address."""
    count = min(size, element_limit())
    return quoted(read(address, count), count < size)


def hexadecimal(data, size):
    """Returns bytes as digits, with "..." after them if there are more."""
    return data.hex(" ") + ("..." if len(data) < size else "")


def plain(value):
    """Returns the value that a reference refers to."""
    is_reference = value.type.strip_typedefs().code in (gdb.TYPE_CODE_REF, gdb.TYPE_CODE_RVALUE_REF)
    return value.referenced_value() if is_reference else value


class Printer:
    """Base of the printers. Turns errors into text."""

    def __init__(self, value):
        self.value = value

    def to_string(self):
        try:
            self.value = plain(self.value)
            return self.text()
        except gdb.MemoryError as error:
            return f"<unreadable: {error}>"
        except gdb.error as error:
            return "<optimized out>" if "optimized out" in str(error) else f"<unknown: {error}>"


class StringPrinter(Printer):
    """String, a std::string."""

    def text(self):
        size = int(self.value["_M_string_length"])
        return quoted_at(int(self.value["_M_dataplus"]["_M_p"]), size)


class StringIdPrinter(Printer):
    """StringId, a pointer to an element whose text follows it; null for the empty text."""

    def text(self):
        element = self.value["m_element"]
        if int(element) == 0:
            return '""'
        return quoted_at(int(element + 1), int(element["length"]))


class BufferPrinter(Printer):
    """Buffer: its sizes and first bytes."""

    def text(self):
        size, capacity = int(self.value["m_size"]), int(self.value["m_capacity"])
        if size > capacity:
            return f"<damaged: size {size}, capacity {capacity}>"
        data = read(int(self.value["m_data"]), min(size, element_limit()))
        return f"{size} bytes, capacity {capacity}" + (f": {hexadecimal(data, size)}" if size else "")


class PointerPrinter(Printer):
    """Base of the printers of pointers, whose child is the object's address."""

    def pointer(self):
        raise NotImplementedError

    def children(self):
        try:
            pointer = self.pointer()
            return iter([("get()", pointer)] if int(pointer) else [])
        except gdb.error:
            return iter([])


def object_offset(kind):
    """Returns the offset of the Object within a class; None if it is unknown."""
    kind = kind.strip_typedefs().unqualified()
    if kind.name == "qel::Object":
        return 0
    for field in kind.fields():
        inner = object_offset(field.type) if field.is_base_class else None
        if inner is not None:
            return field.bitpos // 8 + inner
    return None


class SmartPointerPrinter(PointerPrinter):
    """SmartPointer: the number of references to the object."""

    def pointer(self):
        return plain(self.value)["m_object"]

    def text(self):
        pointer = self.pointer()
        if int(pointer) == 0:
            return "SmartPointer (null)"
        offset = object_offset(pointer.type.target())
        if offset is None: # only the name of the class is known here
            return "SmartPointer"
        try:
            count = struct.unpack("<i", read(int(pointer) + offset + COUNT_OFFSET, 4))[0]
        except gdb.MemoryError:
            return "SmartPointer (unreadable object)"
        return f"SmartPointer ({count} reference{'' if count == 1 else 's'})"


class WeakPointerPrinter(PointerPrinter):
    """WeakPointer: the object, unless it has died."""

    def pointer(self):
        value = plain(self.value)
        target = value.type.strip_typedefs().unqualified().template_argument(0)
        return value["m_object"]["_M_b"]["_M_p"].cast(target.pointer())

    def text(self):
        return "WeakPointer" if int(self.pointer()) else "WeakPointer (null)"


class Elements:
    """The elements of an Item, read from its bytes as docs/formats.md describes them."""

    NAMES = {11: "NIL", 13: "false", 14: "true", 192: "META", 254: "WILDCARD", 255: "END"}
    NUMBERS = {1: "<q", 2: "<d", 6: "<i", 7: "<h", 8: "<b"}
    SIZED = {4: "BUFFER", 5: "POINTER", 9: "ITEM", 193: "REFEREE"}

    def __init__(self, data, depth=0):
        self.data = data
        self.depth = depth

    def element(self, at):
        """Returns the text and the size of the element at an offset; None if it is malformed."""
        tag, payload = self.data[at], self.data[at + 1:]
        if tag in self.NAMES:
            return self.NAMES[tag], 1
        if tag in self.NUMBERS:
            size = struct.calcsize(self.NUMBERS[tag])
            return (repr(struct.unpack_from(self.NUMBERS[tag], payload)[0]), 1 + size) if size <= len(payload) else None
        if tag in (3, 12):
            text, end, _ = payload.partition(b"\0")
            shown = quoted(text[:element_limit()], len(text) > element_limit())
            return (("PREFIX " if tag == 12 else "") + shown, len(text) + 2) if end else None
        if tag == 10:
            return (f"GUID {payload[:32].hex().upper()}", 33) if len(payload) >= 32 else None
        return self.sized(tag, payload)

    def sized(self, tag, payload):
        """Returns the same for an element that begins with its size."""
        if tag not in self.SIZED or len(payload) < 4:
            return None
        size = struct.unpack_from("<I", payload)[0]
        content = payload[4:4 + size]
        if len(content) < size:
            return None
        if tag == 9:
            return str(Elements(content, self.depth + 1)), 5 + size
        return f"{self.SIZED[tag]} of {size} bytes: {hexadecimal(content[:element_limit()], size)}", 5 + size

    def __str__(self):
        if self.depth > DEEPEST_ITEM:
            return "{...}"
        shown, at = [], 0
        while at < len(self.data):
            if len(shown) >= element_limit():
                shown.append("...")
                break
            element = self.element(at)
            if not element:
                shown.append(f"<{len(self.data) - at} malformed bytes>")
                break
            shown.append(element[0])
            at += element[1]
        return "{" + ", ".join(shown) + "}"


class ItemPrinter(Printer):
    """Item: its elements."""

    def text(self):
        size = int(self.value["m_size"])
        if size > LARGEST_READ:
            return f"<Item of {size} bytes>"
        return str(Elements(read(int(self.value["m_data"]), size)))


def printers():
    """Returns the printers by the names of their types."""
    collection = gdb.printing.RegexpCollectionPrettyPrinter("qelCore")
    for name, pattern, printer in (("String", "^qel::String$", StringPrinter),
                                   ("StringId", "^qel::StringId$", StringIdPrinter),
                                   ("SmartPointer", "^qel::SmartPointer<.*>$", SmartPointerPrinter),
                                   ("WeakPointer", "^qel::WeakPointer<.*>$", WeakPointerPrinter),
                                   ("Item", "^qel::Item$", ItemPrinter),
                                   ("Buffer", "^qel::Buffer$", BufferPrinter)):
        collection.add_printer(name, pattern, printer)
    return collection


gdb.printing.register_pretty_printer(gdb.current_objfile(), printers(), replace=True)
