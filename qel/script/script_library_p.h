// The tables that every script finds: `global`, `std`, `math` and `string`.
#pragma once

#include <qel/script/native_call.h>
#include <qel/script/object_interfaces.h>

namespace qelSq {

class VM;

namespace internal {

/// Makes and fills the root tables of @p vm and runs the prelude.
void openLibrary(VM& vm);

/// Fills the table `std` up to what the machine's own libraries add.
void fillStd(Object& table);
/// Fills the table `string` up to what the machine's own library adds.
void fillString(Object& table);
/// The functions of `std` for threads and queues.
void addThreadFunctions(Object& table);
/// The functions of `std` that run programs.
void addProcessFunctions(Object& table);
/// "queue", "serial_queue".
void addQueueFunctions(Object& table);
/// "get_current_queue", "current_queue_is_aborting".
void addCurrentQueueFunctions(Object& table);

/// Puts a native function that converts its arguments as bound ones do into @p table.
template <auto F>
void addFunction(Object& table, const char* name) {
    table.asTable().squirrelFunction(name, &callStatic<F>);
}

} // namespace internal
} // namespace qelSq
