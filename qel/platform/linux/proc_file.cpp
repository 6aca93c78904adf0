#include <qel/platform/linux/proc_file_p.h>

#include <qel/platform/file_system.h>

#include <array>
#include <charconv>

namespace qel::platform {

std::string readProcFile(const char* path) {
    FileHandle file;
    if (openFile(file, path, OpenMode::Read)) return {};
    std::string content;
    std::array<char, 4096> piece;
    for (std::size_t count = 1; count > 0;) {
        if (file.read(piece.data(), piece.size(), count)) break;
        content.append(piece.data(), count);
    }
    return content;
}

std::optional<std::uint64_t> procField(std::string_view text, std::string_view label) {
    for (std::size_t at = text.find(label); at != std::string_view::npos; at = text.find(label, at + 1)) {
        if (at != 0 && text[at - 1] != '\n') continue;
        std::string_view rest = text.substr(at + label.size());
        return takeNumber(rest);
    }
    return std::nullopt;
}

std::optional<std::uint64_t> takeNumber(std::string_view& text) {
    const std::size_t start = text.find_first_not_of(" \t");
    if (start == std::string_view::npos) return std::nullopt;
    std::uint64_t number = 0;
    const auto [end, error] = std::from_chars(text.data() + start, text.data() + text.size(), number);
    if (error != std::errc()) return std::nullopt;
    text.remove_prefix(static_cast<std::size_t>(end - text.data()));
    return number;
}

} // namespace qel::platform
