// The members of String that write and read base 16, base 64 and percent forms.
#include <qel/foundation/base/base_encoding.h>
#include <qel/foundation/base/crc32c.h>
#include <qel/foundation/base/string.h>

#include <cstring>

namespace qel {

namespace {

constexpr size_t kCrcDigits = 4;

const uint8* bytesOf(const char* text) {
    return reinterpret_cast<const uint8*>(text);
}

uint8* bytesOf(char* text) {
    return reinterpret_cast<uint8*>(text);
}

using Encode64 = void (*)(uint8*, const uint8*, size_t, bool);
using Decode64 = bool (*)(uint8*, const uint8*, size_t);

String encode64(Encode64 encode, const uint8* bytes, size_t size, bool padding) {
    String text(util::getBase64EncodedSize(size, padding), '\0');
    encode(bytesOf(text.data()), bytes, size, padding);
    return text;
}

/// Returns the length without trailing "=".
size_t getDigitCount(const String& text) {
    const size_t last = text.find_last_not_of('=');
    return last == String::npos ? 0 : last + 1;
}

/// Returns the number of whole bytes in @p digits of base 64, without overflow.
size_t getBase64DecodedSize(size_t digits) {
    return digits / 4 * 3 + digits % 4 * 3 / 4;
}

bool decode64ToBuffer(Decode64 decode, const String& text, uint8* bytes, size_t size) {
    return size == getBase64DecodedSize(getDigitCount(text)) &&
           decode(bytes, bytesOf(text.data()), text.size());
}

String decode64(Decode64 decode, const String& text) {
    String bytes(getBase64DecodedSize(getDigitCount(text)), '\0');
    return decode64ToBuffer(decode, text, bytesOf(bytes.data()), bytes.size()) ? bytes : String();
}

/// Returns the checksum at the beginning of self-checking text, which has 24 bits.
String encodeCrc(const uint8* bytes, size_t size) {
    const uint32 crc = util::crc32c(0xFFFFFFFF, bytes, size);
    const uint8 low[] = {static_cast<uint8>(crc), static_cast<uint8>(crc >> 8),
                         static_cast<uint8>(crc >> 16)};
    return encode64(util::encodeBase64url, low, sizeof(low), false);
}

} // namespace

String String::encodeBase16() const {
    return encodeBase16fromBuffer(bytesOf(data()), size());
}

String String::encodeBase16fromBuffer(const uint8* bytes, size_t size) {
    String text(2 * size, '\0');
    util::encodeBase16(bytesOf(text.data()), bytes, size);
    return text;
}

String String::decodeBase16() const {
    String bytes(size() / 2, '\0');
    if (!decodeBase16toBuffer(bytesOf(bytes.data()), bytes.size())) return {};
    bytes.resize(std::strlen(bytes.c_str())); // the result is text and ends at its first NUL
    return bytes;
}

bool String::decodeBase16toBuffer(uint8* bytes, size_t size) const {
    return this->size() % 2 == 0 && size == this->size() / 2 &&
           util::decodeBase16(bytes, bytesOf(data()), this->size());
}

int64 String::getDecodeBase16Size() const {
    return size() % 2 == 0 ? static_cast<int64>(size() / 2) : -1;
}

String String::encodeBase64() const {
    return encodeBase64fromBuffer(bytesOf(data()), size(), false);
}

String String::encodeBase64WithPadding() const {
    return encodeBase64fromBuffer(bytesOf(data()), size(), true);
}

String String::encodeBase64fromBuffer(const uint8* bytes, size_t size, bool padding) {
    return encode64(util::encodeBase64, bytes, size, padding);
}

String String::decodeBase64() const {
    return decode64(util::decodeBase64, *this);
}

bool String::decodeBase64toBuffer(uint8* bytes, size_t size) const {
    return decode64ToBuffer(util::decodeBase64, *this, bytes, size);
}

int64 String::getDecodeBase64Size() const {
    return static_cast<int64>(getBase64DecodedSize(getDigitCount(*this)));
}

String String::encodeBase64url() const {
    return encodeBase64urlFromBuffer(bytesOf(data()), size(), false);
}

String String::encodeBase64urlFromBuffer(const uint8* bytes, size_t size, bool padding) {
    return encode64(util::encodeBase64url, bytes, size, padding);
}

String String::decodeBase64url() const {
    return decode64(util::decodeBase64url, *this);
}

bool String::decodeBase64urlToBuffer(uint8* bytes, size_t size) const {
    return decode64ToBuffer(util::decodeBase64url, *this, bytes, size);
}

String String::encodeBase64crc() const {
    return encodeBase64crcFromBuffer(bytesOf(data()), size());
}

String String::encodeBase64crcFromBuffer(const uint8* bytes, size_t size) {
    String text = encodeCrc(bytes, size);
    text.append(encodeBase64urlFromBuffer(bytes, size, false));
    return text;
}

String String::decodeBase64crc() const {
    const int64 size = getDecodeBase64crcSize();
    if (size < 0) return {};
    String bytes(static_cast<size_t>(size), '\0');
    return decodeBase64crcToBuffer(bytesOf(bytes.data()), bytes.size()) ? bytes : String();
}

bool String::decodeBase64crcToBuffer(uint8* bytes, size_t size) const {
    if (this->size() < kCrcDigits || size != getBase64DecodedSize(this->size() - kCrcDigits)) return false;
    // Padding is refused and unused bits must be 0, so that every changed character is detected.
    if (contains('=')) return false;
    const uint8* digits = bytesOf(data()) + kCrcDigits;
    if (!util::decodeBase64url(bytes, digits, this->size() - kCrcDigits)) return false;
    return encodeBase64crcFromBuffer(bytes, size) == *this;
}

int64 String::getDecodeBase64crcSize() const {
    return size() < kCrcDigits ? -1 : static_cast<int64>(getBase64DecodedSize(size() - kCrcDigits));
}

String String::encodeUrlBase16() const {
    const String digits = String(c_str()).encodeBase16();
    String text;
    text.reserve(digits.size() / 2 * 3);
    for (size_t i = 0; i < digits.size(); i += 2) {
        text.push_back('%');
        text.append(digits, i, 2);
    }
    return text;
}

String String::decodeUrlBase16() const {
    String bytes;
    bytes.reserve(size());
    for (size_t i = 0; i < size(); ++i) {
        char c = (*this)[i];
        if (c == '%') {
            // A broken or missing pair becomes a zero byte.
            uint8 byte = 0;
            if (size() - i > 2) util::decodeBase16(&byte, bytesOf(data()) + i + 1, 2);
            c = static_cast<char>(byte);
            i += 2;
        }
        bytes.push_back(c);
    }
    return bytes;
}

} // namespace qel
