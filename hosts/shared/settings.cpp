#include "settings.h"

#include <charconv>
#include <filesystem>
#include <system_error>
#include <utility>

namespace qelhosts {

namespace {

namespace fs = std::filesystem;

std::string checkFolder(const std::string& path) {
    std::error_code error; // also set for a path in a folder that cannot be searched
    return fs::is_directory(path, error) ? std::string() : "no such folder: " + inQuotes(path);
}

} // namespace

std::string inQuotes(std::string_view text) {
    return "'" + std::string(text) + "'";
}

Setting flag(bool& target) {
    return {ValueKind::Other, [&target](const std::string&) {
                target = true;
                return std::string();
            }};
}

Setting path(std::string& target, std::string_view what) {
    return {ValueKind::File, [&target, what = std::string(what)](const std::string& value) {
                target = value;
                return value.empty() ? "not a path of a " + what + ": " + inQuotes(value) : std::string();
            }};
}

Setting language(std::string& target) {
    return {ValueKind::Other, [&target](const std::string& value) {
                target = value;
                const bool isCode = !value.empty() && value.find('/') == value.npos;
                return isCode ? std::string() : "no language: " + inQuotes(value);
            }};
}

Setting file(std::string& target) {
    return {ValueKind::File, [&target](const std::string& value) {
                target = value;
                std::error_code error;
                return fs::is_regular_file(value, error) ? std::string() : "no such file: " + inQuotes(value);
            }};
}

Setting folder(std::string& target) {
    return {ValueKind::Folder, [&target](const std::string& value) {
                target = value;
                return checkFolder(value);
            }};
}

Setting folders(std::vector<std::string>& target) {
    return {ValueKind::Folder, [&target](const std::string& value) {
                target.push_back(value);
                return checkFolder(value);
            }};
}

Setting number(int& target, int least, int most, std::string_view what) {
    const std::string complaint = "not a " + std::string(what) + " from " + std::to_string(least) + " to " +
                                  std::to_string(most) + ": ";
    return {ValueKind::Other, [&target, least, most, complaint](const std::string& value) {
                const char* const end = value.data() + value.size();
                const auto [stop, error] = std::from_chars(value.data(), end, target);
                const bool isNumber =
                    error == std::errc() && stop == end && target >= least && target <= most;
                return isNumber ? std::string() : complaint + inQuotes(value);
            }};
}

Option languageOption(std::string& target) {
    return {"--language", "CODE", language(target),
            "language of texts, such as \"en\" or \"de\"; default: the user's"};
}

Option resourcesOption(std::vector<std::string>& target) {
    return {
        "--resources", "DIR", folders(target),
        "add the resource packages (\"res-...\") in DIR; may be repeated; default: the installed packages"};
}

} // namespace qelhosts
