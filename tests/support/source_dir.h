// Locates the files of the source tree for tests.
#pragma once

#include <string>

namespace qel::test {

/// Returns the root of the source tree, without a slash at the end.
std::string sourceDir();
/// Returns the content of a file of the source tree. @param path  relative to its root.
std::string sourceText(const std::string& path);

} // namespace qel::test
