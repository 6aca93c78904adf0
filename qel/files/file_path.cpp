#include <qel/files/file.h>

#include <algorithm>
#include <string_view>

namespace qel {

namespace {

constexpr char kSeparator = '/';

// Applies one part to `parts`: ".." removes the last one. Returns false if no part was left to remove.
bool resolvePart(std::string_view part, Vector<std::string_view>& parts) {
    if (part.empty() || part == ".") return true;
    if (part != "..") {
        parts.push_back(part);
        return true;
    }
    if (parts.empty()) return false;
    parts.pop_back();
    return true;
}

bool splitAndResolve(std::string_view path, Vector<std::string_view>& parts) {
    for (;;) {
        const size_t end = std::min(path.find(kSeparator), path.size());
        if (!resolvePart(path.substr(0, end), parts)) return false;
        if (end == path.size()) return true;
        path.remove_prefix(end + 1);
    }
}

// Returns the position of the dot of the extension; npos without an extension.
size_t extensionDot(std::string_view path) {
    const size_t nameBegin = path.rfind(kSeparator) + 1;
    const size_t dot = path.rfind('.');
    return dot != path.npos && dot > nameBegin ? dot : path.npos;
}

} // namespace

String File::pathToLongPath(SmartCStr path) {
    return path;
}

String File::longPathToPath(SmartCStr path) {
    return path;
}

Vector<uint16> File::pathToWideCharWindows(SmartCStr path) {
    Vector<uint16> wide = pathToLongPath(path).utf8_to_utf16();
    wide.push_back(0);
    return wide;
}

void File::pathFromWideCharWindows(String& path, const uint16* wide) {
    path.clear();
    while (wide && *wide) {
        uint32 codePoint = *wide++;
        const bool isPair = codePoint >= 0xD800 && codePoint < 0xDC00 && *wide >= 0xDC00 && *wide < 0xE000;
        if (isPair) {
            codePoint = 0x10000 + ((codePoint - 0xD800) << 10) + (*wide++ - 0xDC00u);
        } else if (codePoint >= 0xD800 && codePoint < 0xE000) {
            codePoint = 0xFFFD;
        }
        path.utf8_append(codePoint);
    }
}

bool File::pathCanonicalize(String& path, SmartCStr base) {
    const std::string_view text = path;
    const bool isAbsolute = text.starts_with(kSeparator);
    const std::string_view start = isAbsolute ? std::string_view() : base.view();
    Vector<std::string_view> parts;
    if (!splitAndResolve(start, parts) || !splitAndResolve(text, parts)) return false;

    String result = isAbsolute || start.starts_with(kSeparator) ? "/" : "";
    for (const std::string_view part : parts) {
        result += part;
        result += kSeparator;
    }
    if (!parts.empty() && !text.ends_with(kSeparator)) result.pop_back();
    path = result.empty() ? "." : std::move(result);
    return true;
}

void File::pathEndWithSeparator(String& path) {
    if (!path.empty() && path.back() != kSeparator) path += kSeparator;
}

void File::pathStripEndingSeparator(String& path) {
    while (path.size() > 1 && path.back() == kSeparator) path.pop_back();
}

void File::pathSeparatorToHost(String& path) {
    pathSeparatorToUnix(path);
}

void File::pathSeparatorToUnix(String& path) {
    std::replace(path.begin(), path.end(), '\\', '/');
}

void File::pathSeparatorToWindows(String& path) {
    std::replace(path.begin(), path.end(), '/', '\\');
}

char File::pathSeparator() {
    return kSeparator;
}

const char* File::getPathSeparatorForHost() {
    return "/";
}

void File::splitFilePath(SmartCStr path, String& directory, String& name) {
    const std::string whole = path.c_str(); // either target may be the source
    const size_t slash = whole.rfind(kSeparator);
    name = whole.substr(slash + 1);
    directory = slash == whole.npos ? std::string() : whole.substr(0, std::max<size_t>(slash, 1));
}

String File::getFilenameFromPath(SmartCStr path) {
    const std::string_view text = path.view();
    return String(text.substr(text.rfind(kSeparator) + 1));
}

String File::stripFilenameFromPath(SmartCStr path) {
    String directory, name;
    splitFilePath(path, directory, name);
    return directory;
}

String File::getExtensionFromPath(SmartCStr path) {
    const std::string_view text = path.view();
    const size_t dot = extensionDot(text);
    return dot == text.npos ? String() : String(text.substr(dot + 1));
}

String File::stripExtensionFromPath(SmartCStr path) {
    const std::string_view text = path.view();
    return String(text.substr(0, extensionDot(text)));
}

String File::addExtensionToPath(SmartCStr path, SmartCStr extension) {
    String result = path;
    if (!extension.empty() && !extension.begins_with('.')) result += '.';
    return result += extension.c_str();
}

} // namespace qel
