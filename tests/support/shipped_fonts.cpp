#include <tests/support/shipped_fonts.h>

#include <qel/plugins/resource_locator.h>
#include <qel/system/core/system.h>

#include <gtest/gtest.h>

namespace qel::test {

void addShippedFonts() {
    Object::system()->getResourceLocator()->addResourceDirectory(QEL_FONT_DIR);
}

Buffer shippedFont(const std::string& resource) {
    Buffer file;
    EXPECT_TRUE(file.loadFromFile((QEL_FONT_DIR "/" + resource).c_str(), false, false));
    return file;
}

} // namespace qel::test
