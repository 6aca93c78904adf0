#include <qel/system/core/system.h>

#include <qel/scene/actors/touch_state.h>
#include <qel/script/class_binder.h>
#include <qel/script/signal_class.h>
#include <qel/store/core/guid.h>

namespace qel {

namespace {

int runCommandAndWait(const char* command) {
    return System::runCommand(command, 0);
}
const char* getParameterOrNull(System& system, const char* names) {
    return system.getArgumentParameter(names, nullptr);
}

// Pushes "signalApplicationTick" as an instance that does not own the signal.
SQInteger getTickSignal(SQVM* vm) {
    System* system = qelSq::NativeClass<System>::at(vm, 1);
    if (!system) return qelSq::internal::raiseNullAccess(vm, false);
    qelSq::NativeClass<Signal<void()>>::pushUnowned(vm, &system->signalApplicationTick);
    return 1;
}

} // namespace

void System::bindSqVM(qelSq::Object* cls) {
    using namespace qelSq;
    qel::Object::bindSqVM(cls);
    ClassBinder<System> binder(cls);
    binder.staticFunction<&System::getStaticClassName>("getClassName")
        .staticFunction<&System::getExecutableExtension>("getExecutableExtension")
        .method<&System::printInformation>("printInformation")
        .method<&System::getTime>("getTime")
        .method<&System::getUTCDateTime>("getUTCDateTime")
        .method<&System::randomUInt>("randomUInt")
        .method<&System::getTouchState>("getTouchState")
        .method<&System::getNumberOfArguments>("getNumberOfArguments")
        .method<&System::getArgument>("getArgument")
        .native("runCommand",
                &callEither<1, &callStatic<&runCommandAndWait>, &callStatic<&System::runCommand>>, true)
        .method<&System::exitProcess>("exitProcess")
        .method<&System::hasArgument>("hasArgument")
        .native("getArgumentParameter",
                &callEither<1, &callMethod<System, &getParameterOrNull>,
                            &callMethod<System, &System::getArgumentParameter>>,
                false)
        .accessor("signalApplicationTick", &getTickSignal)
        .staticFunction<&System::sleep>("sleep")
        .method<&System::setEnv>("setEnv")
        .method<&System::unsetEnv>("unsetEnv")
        .method<&System::getEnv>("getEnv")
        .method<&System::generateGUID>("generateGUID")
        .method<&System::getExecutableDirectory>("getExecutableDirectory")
        .method<&System::getPluginsDirectory>("getPluginsDirectory");
}

} // namespace qel
