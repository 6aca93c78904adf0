#include <qel/script/script_library_p.h>

#include <qel/script/machine_entry_p.h>
#include <qel/script/machine_limits_p.h>
#include <qel/script/vm.h>

#include <sqstdblob.h>
#include <sqstdio.h>
#include <sqstdmath.h>
#include <sqstdstring.h>

namespace qelSq::internal {

namespace {

constexpr const char* kPrelude = R"(
std.safe_tointeger <- function(v) { try { return v.tointeger() } catch (e) { return 0 } }
std.safe_tofloat <- function(v) { try { return v.tofloat() } catch (e) { return 0.0 } }
std.isnull <- function(v) { return v == null }
std.isinteger <- function(v) { return typeof v == "integer" }
std.isbool <- function(v) { return typeof v == "bool" }
std.isfloat <- function(v) { return typeof v == "float" }
std.isarray <- function(v) { return typeof v == "array" }
std.isstring <- function(v) { return typeof v == "string" }
std.istable <- function(v) { return typeof v == "table" }
std.isblob <- function(v) { return typeof v == "blob" }
std.isfunction <- function(v) { return typeof v == "function" }
std.isclass <- function(v) { return typeof v == "class" }
std.isinstance <- function(v) { return typeof v == "instance" }
std.isguid <- function(v) { try { return v.getClassName() == "GUID" } catch (e) { return false } }
)";

void registerLibrary(SQVM* vm, const Object& table, SQRESULT (*registerInto)(HSQUIRRELVM)) {
    MachineEntry entry(vm);
    table.push(vm);
    registerInto(vm);
}

// Creates a table in the slot @p name of the root table.
Object addRootTable(VM& vm, const char* name) {
    Object table = vm.newTable();
    vm.getRootTable().set(name, table);
    return table;
}

} // namespace

void openLibrary(VM& vm) {
    SQVM* machine = vm.getSquirrelVM();
    addRootTable(vm, "global");
    Object standard = addRootTable(vm, "std");
    fillStd(standard);
    registerLibrary(machine, standard, &sqstd_register_bloblib);
    registerLibrary(machine, standard, &sqstd_register_iolib);
    limitStandardLibrary(standard);
    registerLibrary(machine, addRootTable(vm, "math"), &sqstd_register_mathlib);
    Object string = addRootTable(vm, "string");
    fillString(string);
    registerLibrary(machine, string, &sqstd_register_stringlib);
    vm.executeString(kPrelude, "squirrelStartup");
}

} // namespace qelSq::internal
