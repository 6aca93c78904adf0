// Puts the stack of a script machine back to the height that it had.
#pragma once

#include <squirrel.h>

namespace qelSq::internal {

/// Takes off at the end of the scope what was pushed since, whichever way the calls in between have ended.
class StackGuard {
public:
    /// Remembers the height of the stack of @p vm.
    explicit StackGuard(SQVM* vm) : m_vm(vm), m_top(sq_gettop(vm)) {}
    ~StackGuard() { sq_settop(m_vm, m_top); }
    StackGuard(const StackGuard&) = delete;
    StackGuard& operator=(const StackGuard&) = delete;

private:
    SQVM* m_vm;
    SQInteger m_top;
};

} // namespace qelSq::internal
