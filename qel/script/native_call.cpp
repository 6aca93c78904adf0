#include <qel/script/native_call.h>

#include <exception>

namespace qelSq::internal {

SQInteger raiseArgumentCount(SQVM* vm, bool isStatic) {
    return sq_throwerror(vm, isStatic ? "invalid argument count on native static method call"
                                      : "invalid argument count on native method call");
}

SQInteger raiseNullAccess(SQVM* vm, bool isSetter) {
    return sq_throwerror(vm, isSetter ? "native set on null-pointer" : "native get on null-pointer");
}

SQInteger raiseCurrentException(SQVM* vm) {
    try {
        throw;
    } catch (const std::exception& exception) {
        return sq_throwerror(vm, exception.what());
    } catch (...) {
        return sq_throwerror(vm, "unknown native exception");
    }
}

} // namespace qelSq::internal
