// Base encodings, percent forms and character sets. The first byte selects a character set and a position;
// the rest is data for the encoders and text for the decoders.
#include <fuzz/require.h>
#include <qel/foundation/base/charset.h>
#include <qel/foundation/base/string.h>
#include <qel/foundation/log/message_stream.h>

#include <vector>

using qel::String;
using qel::uint8;

namespace {

void requireRoundTrips(const String& data) {
    const auto* bytes = reinterpret_cast<const uint8*>(data.data());
    std::vector<uint8> out(data.size());
    require(data.encodeBase16().decodeBase16toBuffer(out.data(), out.size()));
    require(std::equal(out.begin(), out.end(), bytes));
    require(data.encodeBase64().decodeBase64() == data);
    require(data.encodeBase64WithPadding().decodeBase64() == data);
    require(data.encodeBase64url().decodeBase64url() == data);
    require(data.encodeBase64crc().decodeBase64crc() == data);
    require(data.encodeUrlBase16().decodeUrlBase16() == data.c_str());
}

/// Requires that decoded data have the announced size and encode to the same text again.
void requireSizes(const String& text) {
    if (text.getDecodeBase16Size() >= 0) {
        std::vector<uint8> bytes(static_cast<size_t>(text.getDecodeBase16Size()));
        text.decodeBase16toBuffer(bytes.data(), bytes.size());
    }
    const String base64 = text.decodeBase64();
    require(base64.empty() || static_cast<qel::int64>(base64.size()) == text.getDecodeBase64Size());
    const String url = text.decodeBase64url();
    require(url.empty() || static_cast<qel::int64>(url.size()) == text.getDecodeBase64Size());
    const String checked = text.decodeBase64crc();
    require(checked.empty() || checked.encodeBase64crc() == text);
    require(text.decodeUrlBase16().size() <= text.size());
}

void requireChangeIsFound(const String& data, unsigned choice) {
    String text = data.encodeBase64crc();
    char& character = text[choice % text.size()];
    character = character == 'A' ? 'B' : 'A';
    require(text.decodeBase64crc().empty());
}

void tryCharset(const String& text, qel::Charset charset) {
    const String unicode = text.utf8_convert_from_charset(charset);
    require(unicode.utf8_fix() == unicode.c_str());
    unicode.utf8_convert_to_charset(charset);
    text.utf8_convert_to_charset(charset);
    require(text.remove_escape_langchange().size() <= text.size());
}

void tryEscapes(const String& text) {
    require(text.utf8_escape_url().decodeUrlBase16() == text.utf8_fix());
    require(text.utf8_escape_filepath().find('/') == String::npos);
    require(text.utf8_escape_html().find('<') == String::npos);
    text.utf8_escape_php();
    text.utf8_escape_controlcode();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8* data, size_t size) {
    qel::logging::setConsoleWriter([](const qel::logging::ConsoleLine&) {});
    if (size == 0) return 0;
    const String text(reinterpret_cast<const char*>(data + 1), size - 1);
    requireRoundTrips(text);
    requireSizes(text);
    requireChangeIsFound(text, data[0]);
    tryCharset(text, static_cast<qel::Charset>(data[0] % 26));
    tryEscapes(text);
    return 0;
}
