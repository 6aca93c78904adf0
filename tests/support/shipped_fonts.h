// The fonts that hosts ship, for tests.
#pragma once

#include <qel/foundation/base/buffer.h>
#include <qel/foundation/base/object.h>

#include <string>

namespace qel::test {

/// Makes the shipped fonts available as resources, under names such as "font-roboto-regular.ttf".
void addShippedFonts();
/// Returns the content of a shipped font.
Buffer shippedFont(const std::string& resource);

/// A test of kind @p Base with the shipped fonts.
template <typename Base>
class WithShippedFonts : public Base {
protected:
    void SetUp() override {
        Base::SetUp();
        addShippedFonts();
    }
    void TearDown() override {
        Base::TearDown();
        Object::discardSingletons(); // the files of fonts
    }
};

} // namespace qel::test
