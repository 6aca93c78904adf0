// Makes the file operations of SQLite fail like those of the library.
#pragma once

namespace qel::test {

/// From now on, every database that is opened consults the installed faults before each file operation.
/// @threads once, before a database is opened.
void installFaultyDatabase();

} // namespace qel::test
