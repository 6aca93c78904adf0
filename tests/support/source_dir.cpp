#include <tests/support/source_dir.h>

namespace qel::test {

std::string sourceDir() {
    return QEL_SOURCE_DIR;
}

} // namespace qel::test
