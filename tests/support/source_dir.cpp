#include <tests/support/source_dir.h>

#include <fstream>
#include <sstream>

namespace qel::test {

std::string sourceDir() {
    return QEL_SOURCE_DIR;
}

std::string sourceText(const std::string& path) {
    std::ostringstream text;
    text << std::ifstream(sourceDir() + "/" + path).rdbuf();
    return text.str();
}

std::vector<std::string> partsOf(const std::string& page, const std::string& begin, const std::string& end) {
    std::vector<std::string> parts;
    for (size_t at = page.find(begin); at != page.npos; at = page.find(begin, at)) {
        at += begin.size();
        parts.push_back(page.substr(at, page.find(end, at) - at));
    }
    return parts;
}

} // namespace qel::test
