// The fonts that hosts ship, for tests.
#pragma once

#include <qel/foundation/base/buffer.h>

#include <string>

namespace qel::test {

/// Makes the shipped fonts available as resources, under names such as "font-roboto-regular.ttf".
void addShippedFonts();
/// Returns the content of a shipped font.
Buffer shippedFont(const std::string& resource);

} // namespace qel::test
