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

} // namespace qel::test
