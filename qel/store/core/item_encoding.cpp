#include <qel/store/core/item.h>

namespace qel {
namespace {

/// Decodes @p text into @p item with a pair of codec functions of String.
bool decode(Item& item, const String& text, int64 (String::*getSize)() const,
            bool (String::*decodeTo)(uint8*, size_t) const) {
    const int64 size = (text.*getSize)();
    if (size < 0) return false;
    const auto bytes = static_cast<size_t>(size);
    if ((text.*decodeTo)(item.resizePlain(bytes), bytes)) return true;
    item.clear();
    return false;
}

} // namespace

String Item::getBase16() const {
    return String::encodeBase16fromBuffer(m_data, m_size);
}

bool Item::setBase16(const String& text) {
    return decode(*this, text, &String::getDecodeBase16Size, &String::decodeBase16toBuffer);
}

String Item::getBase64() const {
    return String::encodeBase64urlFromBuffer(m_data, m_size, false);
}

bool Item::setBase64(const String& text) {
    return decode(*this, text, &String::getDecodeBase64Size, &String::decodeBase64urlToBuffer);
}

String Item::getBase64crc() const {
    return String::encodeBase64crcFromBuffer(m_data, m_size);
}

bool Item::setBase64crc(const String& text) {
    return decode(*this, text, &String::getDecodeBase64crcSize, &String::decodeBase64crcToBuffer);
}

} // namespace qel
