// Where the tests find the files of the source tree.
#pragma once

#include <string>

namespace qel::test {

/// The root of the source tree, without a slash at the end.
std::string sourceDir();
/// The content of a file of the source tree, told from its root.
std::string sourceText(const std::string& path);

} // namespace qel::test
