// The tables that every script can use: `global`, `std`, `math` and `string`.
#pragma once

#include <qel/script/native_call.h>
#include <qel/script/object_interfaces.h>

namespace qelSq {

class VM;

namespace internal {

/// Creates and fills the root tables of @p vm and runs the prelude.
void openLibrary(VM& vm);

/// Fills the table `std`, except for what the machine's own libraries add.
void fillStd(Object& table);
/// Fills the table `string`, except for what the machine's own library adds.
void fillString(Object& table);
/// Adds the functions of `std` for threads and queues.
void addThreadFunctions(Object& table);
/// Adds the functions of `std` that run programs.
void addProcessFunctions(Object& table);
/// Adds the functions "queue" and "serial_queue".
void addQueueFunctions(Object& table);
/// Adds the functions "get_current_queue" and "current_queue_is_aborting".
void addCurrentQueueFunctions(Object& table);

/// Adds the native function @p F to @p table; its arguments are converted as those of bound functions are.
template <auto F>
void addFunction(Object& table, const char* name) {
    table.asTable().squirrelFunction(name, &callStatic<F>);
}

} // namespace internal
} // namespace qelSq
