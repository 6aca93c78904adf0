// Guards every call from native code into the script machine.
#pragma once

#include <qel/platform/c_locale.h>

#include <squirrel.h>

namespace qelSq::internal {

/// Restores the height of a stack at the end of the scope, whether or not the calls in between succeeded.
/// Until then the machine reads and formats numbers with a decimal point, whatever locale the host has set,
/// because the machine leaves that to the C library.
class MachineEntry {
public:
    /// Remembers the height of the stack of @p vm.
    explicit MachineEntry(SQVM* vm) : m_vm(vm), m_top(sq_gettop(vm)) {}
    ~MachineEntry() { sq_settop(m_vm, m_top); }
    MachineEntry(const MachineEntry&) = delete;
    MachineEntry& operator=(const MachineEntry&) = delete;

private:
    const qel::platform::CLocaleScope m_locale;
    SQVM* m_vm;
    SQInteger m_top;
};

} // namespace qelSq::internal
