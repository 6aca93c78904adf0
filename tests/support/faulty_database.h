// Makes the file operations of SQLite fail as those of the library do.
#pragma once

namespace qel::test {

/// From now on, every database that is opened asks the installed faults before each of its file operations.
/// @threads once, before a database is opened.
void installFaultyDatabase();

} // namespace qel::test
