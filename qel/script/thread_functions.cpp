// The functions of the table `std` by which scripts start and suspend threads.
#include <qel/script/script_library_p.h>

#include <qel/script/vm.h>
#include <qel/system/core/system.h>

namespace qelSq::internal {

namespace {

// Returns 0 if there is no System to supply the time.
qel::uint32 now() {
    qel::System* system = qel::Object::system();
    return system ? system->getTime() : 0;
}

bool wakeWithNull(SQVM* thread) {
    sq_pushnull(thread);
    return true;
}

SQInteger sleep(SQVM* vm) {
    if (sq_gettop(vm) != 2) return raiseArgumentCount(vm, true);
    VM* machine = VM::from(vm);
    qel::uint32 target = now() + Access<qel::uint32>(vm, 2).value();
    return machine->suspend(vm, [machine, target](SQVM* thread) {
        bool isOver = static_cast<qel::int32>(now() - target) >= 1;
        return (isOver || machine->isCurrentThreadsAsyncQueueAborting()) && wakeWithNull(thread);
    });
}

SQInteger sleepForever(SQVM* vm) {
    VM* machine = VM::from(vm);
    return machine->suspend(vm, [machine](SQVM* thread) {
        return machine->isCurrentThreadsAsyncQueueAborting() && wakeWithNull(thread);
    });
}

SQInteger yield(SQVM* vm) {
    return VM::from(vm)->suspend(vm, &wakeWithNull);
}

SQInteger async(SQVM* vm) {
    SQInteger top = sq_gettop(vm);
    if (top < 2) return sq_throwerror(vm, "invalid argument count on async call");
    VM::Thread* thread = VM::from(vm)->createThread(Object(vm, 2));
    for (SQInteger i = 3; i <= top; ++i) thread->pushArgument(Object(vm, i));
    return 0;
}

} // namespace

void addThreadFunctions(Object& table) {
    table.asTable()
        .squirrelFunction("sleep", &sleep)
        .squirrelFunction("sleep_forever", &sleepForever)
        .squirrelFunction("yield", &yield)
        .squirrelFunction("async", &async);
}

} // namespace qelSq::internal
