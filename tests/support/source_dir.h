// Locates the files of the source tree for tests.
#pragma once

#include <string>
#include <vector>

namespace qel::test {

/// Returns the root of the source tree, without a slash at the end.
std::string sourceDir();
/// Returns the content of a file of the source tree. @param path  relative to its root.
std::string sourceText(const std::string& path);
/// Returns the parts of @p page between each @p begin and the @p end after it.
std::vector<std::string> partsOf(const std::string& page, const std::string& begin, const std::string& end);

} // namespace qel::test
