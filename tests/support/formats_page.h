// The worked examples of docs/formats.md, for tests that check the library against them. Each is a fenced
// block whose info string is its kind and its name.
#pragma once

#include <string>

namespace qel::test {

/// Returns the bytes of the block "hex NAME" as upper-case hexadecimal digits.
/// @throws std::runtime_error if it does not exist.
std::string documentedBytes(const std::string& name);

/// Returns the lines "left = right" of the block "entries NAME" as "left=right ", both sides as upper-case
/// hexadecimal digits: the form of contentOf(). @throws std::runtime_error if it does not exist.
std::string documentedEntries(const std::string& name);

/// Returns the block "text NAME" unchanged, without its last line feed.
/// @throws std::runtime_error if it does not exist.
std::string documentedText(const std::string& name);

} // namespace qel::test
