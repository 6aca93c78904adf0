// Where the tests find the files of the source tree.
#pragma once

#include <string>

namespace qel::test {

/// The root of the source tree, without a slash at the end.
std::string sourceDir();

} // namespace qel::test
