// The classes that every script can import.
#pragma once

#include <qel/platform/api.h>
#include <qel/script/native_class.h>
#include <qel/script/vm.h>

namespace qelSq {

/// Registers the imports of the library's own classes with @p vm: "qel.System", "qel.IVec2" and so on.
QEL_API void CoreImports(VM* vm);

/// Stores the script class of T, under its unqualified name, in the table @p tableName of the root table.
/// Most classes use this as their import function.
template <typename T>
void importClass(VM* vm, const char* tableName) {
    const Object& cls = NativeClass<T>::get(vm->getSquirrelVM());
    Object table = vm->getRootTable().get(tableName);
    table.set(ScriptClass<T>::name(), cls);
}

/// Import function of "qel.GregorianDate". Defined in foundation/locale/gregorian_date_binding.cpp.
QEL_API void importGregorianDate(VM* vm, const char* tableName);
/// Import function of "qel.HumanFriendlyKey". Defined in store/records/human_friendly_key_binding.cpp.
QEL_API void importHumanFriendlyKey(VM* vm, const char* tableName);

} // namespace qelSq
