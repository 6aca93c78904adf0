// The worked examples of docs/formats.md, for the tests that hold the library to them. Each is a fenced block
// whose info string is its kind and its name.
#pragma once

#include <string>

namespace qel::test {

/// The bytes of the block "hex NAME" as upper-case hexadecimal digits. @throws std::runtime_error without
/// one.
std::string documentedBytes(const std::string& name);

/// The lines "left = right" of the block "entries NAME" as "left=right ", both sides as upper-case
/// hexadecimal digits: the form of contentOf(). @throws std::runtime_error without one.
std::string documentedEntries(const std::string& name);

/// The block "text NAME" as it stands, without its last line feed. @throws std::runtime_error without one.
std::string documentedText(const std::string& name);

} // namespace qel::test
