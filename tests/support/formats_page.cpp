#include <tests/support/formats_page.h>

#include <tests/support/source_dir.h>

#include <sstream>
#include <stdexcept>

namespace qel::test {

namespace {

std::string block(const std::string& kind, const std::string& name) {
    static const std::string page = sourceText("docs/formats.md");
    const auto found = partsOf(page, "\n```" + kind + " " + name + "\n", "\n```\n");
    if (found.empty()) throw std::runtime_error("no example " + kind + " " + name);
    return found[0];
}

/// Calls @p use with each line of @p text up to its note.
template <typename Use>
void forEachLine(const std::string& text, Use&& use) {
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) use(line.substr(0, line.find('#')));
}

/// Returns the digits of "02 3*00 FFFF" without spaces, with repetitions expanded; "-" means no bytes.
std::string digitsOf(const std::string& text) {
    std::string digits;
    std::istringstream words(text);
    for (std::string word; words >> word;) {
        const size_t star = word.find('*');
        const int count = star == word.npos ? 1 : std::stoi(word);
        for (int i = 0; i < count && word != "-"; ++i) digits += word.substr(star + 1);
    }
    return digits;
}

} // namespace

std::string documentedBytes(const std::string& name) {
    std::string digits;
    forEachLine(block("hex", name), [&](const std::string& line) { digits += digitsOf(line); });
    return digits;
}

std::string documentedEntries(const std::string& name) {
    std::string entries;
    forEachLine(block("entries", name), [&](const std::string& line) {
        const size_t equals = line.find('=');
        entries += digitsOf(line.substr(0, equals)) + "=" + digitsOf(line.substr(equals + 1)) + " ";
    });
    return entries;
}

std::string documentedText(const std::string& name) {
    return block("text", name);
}

} // namespace qel::test
