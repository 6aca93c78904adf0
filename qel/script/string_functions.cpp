// The functions of the table `string` in addition to those of the machine's own library.
#include <qel/script/script_library_p.h>

#include <qel/files/file.h>
#include <qel/foundation/base/buffer.h>
#include <qel/foundation/base/string.h>

#include <istream>
#include <memory>

namespace qelSq::internal {

namespace {

using qel::String;

bool contains(const String& text, const char* part) {
    return text.contains(part);
}
bool beginsWith(const String& text, const char* part) {
    return text.begins_with(part);
}
bool endsWith(const String& text, const char* part) {
    return text.ends_with(part);
}

String replaceAll(const String& text, const char* from, const char* to) {
    return text.replace_all_copy(from, to);
}

bool appendToFile(const char* path, const String& text) {
    auto stream = qel::File::openStdFileStream(path, std::ios::out | std::ios::app | std::ios::binary);
    if (!stream) return false;
    stream->write(text.data(), static_cast<std::streamsize>(text.size())).flush();
    return stream->good();
}

bool writeToFile(const char* path, const String& text) {
    return text.saveToFile(path);
}

String readFromFile(const char* path) {
    String text;
    return text.loadFromFile(path) ? text : String();
}

String lowercase(const String& text) {
    return text.utf8_lowercase();
}
String uppercase(const String& text) {
    return text.utf8_uppercase();
}
String escapeFilePath(const String& text) {
    return text.utf8_escape_filepath();
}
String trimSpaces(const String& text) {
    return text.trim_spaces();
}

String readFileAsBase64(const char* path) {
    qel::Buffer buffer;
    if (!buffer.loadFromFile(path, true, false)) return {};
    return String::encodeBase64fromBuffer(buffer.getBytePointer(), buffer.getSize(), true);
}

bool writeFileFromBase64(const char* path, const String& text) {
    qel::int64 size = text.getDecodeBase64Size();
    if (size < 0) return false;
    qel::Buffer bytes(static_cast<size_t>(size));
    return text.decodeBase64toBuffer(bytes.getBytePointer(), bytes.getSize()) && bytes.saveToFile(path);
}

qel::uint64 computeHash(const String& text) {
    return text.hash();
}

} // namespace

void fillString(Object& table) {
    addFunction<&contains>(table, "contains");
    addFunction<&beginsWith>(table, "begins_with");
    addFunction<&endsWith>(table, "ends_with");
    addFunction<&replaceAll>(table, "replace_all");
    addFunction<&appendToFile>(table, "append_to_file");
    addFunction<&writeToFile>(table, "write_to_file");
    addFunction<&readFromFile>(table, "read_from_file");
    addFunction<&lowercase>(table, "utf8_lowercase");
    addFunction<&uppercase>(table, "utf8_uppercase");
    addFunction<&escapeFilePath>(table, "utf8_escape_filepath");
    addFunction<&trimSpaces>(table, "trim_spaces");
    addFunction<&readFileAsBase64>(table, "read_file_as_base64");
    addFunction<&writeFileFromBase64>(table, "write_file_from_base64");
    addFunction<&computeHash>(table, "compute_hash");
}

} // namespace qelSq::internal
