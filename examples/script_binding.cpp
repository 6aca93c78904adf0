// Script binding: a class of the host that scripts create, call and extend, and a script thread that waits.
#include <qel/foundation/base/object.h>
#include <qel/script/class_binder.h>
#include <qel/script/core_imports.h>
#include <qel/script/vm.h>
#include <qel/system/core/system.h>

#include <cstdio>
#include <string_view>

namespace {

/// Counts; scripts import it as "app.Counter".
class Counter : public qel::Object {
    QEL_CLASS(Counter, qel::Object)

public:
    int increase(int by) { return m_count += by * step; }

    /// Adds the members to the script class.
    static void bindSqVM(qelSq::Object* cls) {
        qel::Object::bindSqVM(cls);
        qelSq::ClassBinder<Counter>(cls)
            .staticFunction<&Counter::getStaticClassName>("getClassName")
            .method<&Counter::increase>("increase")
            .property<&Counter::step>("step");
    }

    int step = 1;

private:
    int m_count = 0;
};

void print(std::string_view text) {
    std::printf("%.*s\n", static_cast<int>(text.size()), text.data());
}

constexpr const char* kScript = R"(
import("app.Counter")
local counter = app.Counter()
counter.step = 10
app.print(app.Counter.getClassName() + " is at " + counter.increase(4))

class Loud extends app.Counter {
    function increase(by) { return base.increase(by) + "!" }
}
app.print(Loud().increase(2))

try { counter.increase() } catch (e) { app.print("error: " + e) }
)";

} // namespace

int main() {
    qel::System::initialize(nullptr);
    qelSq::VM& vm = *qel::Object::system()->getVM();
    {
        qelSq::Object table = vm.newTable();
        table.asTable().squirrelFunction("print", &qelSq::callStatic<&print>);
        vm.getRootTable().set("app", table);
    }
    vm.setImportCallback("app.Counter", &qelSq::importClass<Counter>, "app");
    vm.executeString(kScript, "example");

    vm.createThread(
        vm.newClosure("std.sleep(1); app.print(\"the thread continues in a later pass\")", "thread"));
    while (vm.threadsActive()) qel::Object::system()->processEvents(0);
    qel::System::deinitialize();
}

// Prints:
// Counter is at 40
// 2!
// error: invalid argument count on native method call
// the thread continues in a later pass
