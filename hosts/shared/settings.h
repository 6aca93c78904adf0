// Settings: the values that options accept.
#pragma once

#include <hosts/shared/program.h>

#include <string>
#include <string_view>
#include <vector>

namespace qelhosts {

// Every setting keeps a reference to its target, which must outlive it. If an option is repeated, the last
// value counts, unless the target is a list.

/// Returns @p text in single quotes.
std::string inQuotes(std::string_view text);

/// A flag: sets @p target to true.
Setting flag(bool& target);
/// A path that is not empty. @param what  what the path names, such as "file".
Setting path(std::string& target, std::string_view what);
/// The code of a language.
Setting language(std::string& target);
/// The path of a regular file that exists.
Setting file(std::string& target);
/// The path of a folder that exists.
Setting folder(std::string& target);
/// The path of a folder that exists, which is added to @p target.
Setting folders(std::vector<std::string>& target);
/// A whole decimal number from @p least to @p most. @param what  what it is, such as "number of seconds".
Setting number(int& target, int least, int most, std::string_view what = "number");

/// Returns the option "--language" of the hosts that show texts.
Option languageOption(std::string& target);
/// Returns the option "--resources" of the hosts that load resources. Folders are added to @p target.
Option resourcesOption(std::vector<std::string>& target);

} // namespace qelhosts
