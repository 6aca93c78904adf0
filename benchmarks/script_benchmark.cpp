// Bound calls against hand-written closures of the same machine and against Lua; resumes against generators.
#include <qel/foundation/base/object.h>
#include <qel/script/class_binder.h>
#include <qel/script/core_imports.h>
#include <qel/script/vm.h>

#include <benchmark/benchmark.h>

#include <cstdlib>
#include <string>

#if QEL_PEER_LUA
#include <lua.hpp>
#endif

namespace {

constexpr int kCalls = 1000;

/// The function that every side calls: two integers in, one out.
class Adder : public qel::Object {
    QEL_CLASS(Adder, qel::Object)

public:
    int add(int a, int b) { return m_sum += a + b; }
    int length(const char* text) { return static_cast<int>(text[0]) + m_sum; }
    static int addBoth(int a, int b) { return a + b; }

    static void bindSqVM(qelSq::Object* cls) {
        qel::Object::bindSqVM(cls);
        qelSq::ClassBinder<Adder>(cls)
            .method<&Adder::add>("add")
            .method<&Adder::length>("length")
            .staticFunction<&Adder::addBoth>("addBoth");
    }

private:
    int m_sum = 0;
};

// The shortest closure that does the work of Adder::add on an instance's native pointer.
SQInteger rawAdd(SQVM* vm) {
    SQUserPointer self = nullptr;
    SQInteger a = 0;
    SQInteger b = 0;
    sq_getinstanceup(vm, 1, &self, nullptr);
    sq_getinteger(vm, 2, &a);
    sq_getinteger(vm, 3, &b);
    auto* adder = static_cast<Adder*>(static_cast<qel::Object*>(self));
    sq_pushinteger(vm, adder->add(static_cast<int>(a), static_cast<int>(b)));
    return 1;
}

SQInteger rawAddBoth(SQVM* vm) {
    SQInteger a = 0;
    SQInteger b = 0;
    sq_getinteger(vm, 2, &a);
    sq_getinteger(vm, 3, &b);
    sq_pushinteger(vm, static_cast<int>(a) + static_cast<int>(b));
    return 1;
}

SQInteger rawLength(SQVM* vm) {
    SQUserPointer self = nullptr;
    const SQChar* text = nullptr;
    sq_getinstanceup(vm, 1, &self, nullptr);
    sq_getstring(vm, 2, &text);
    sq_pushinteger(vm, static_cast<Adder*>(static_cast<qel::Object*>(self))->length(text));
    return 1;
}

/// A machine with the class. @param isRaw  true to replace the bound functions with hand-written ones.
struct Machine {
    explicit Machine(bool isRaw) {
        qelSq::importClass<Adder>(&vm, "util");
        if (isRaw) {
            qelSq::Object cls = qelSq::NativeClass<Adder>::get(vm.getSquirrelVM());
            qelSq::ClassBinder<Adder>(&cls)
                .native("add", &rawAdd, false)
                .native("length", &rawLength, false)
                .native("addBoth", &rawAddBoth, true);
        }
        vm.executeString("::adder <- util.Adder()", "setup");
    }

    // Returns a function that calls @p call kCalls times in a loop.
    qelSq::Functor loop(const std::string& call) {
        std::string source = "local a = adder; local c = util.Adder; for (local i = 0; i < " +
                             std::to_string(kCalls) + "; i++) " + call;
        return vm.newClosure(source, "loop").asClosure().getFunctorOnRoot();
    }

    qelSq::VM vm;
};

void runLoop(benchmark::State& state, const char* call, bool isRaw) {
    Machine machine(isRaw);
    qelSq::Functor loop = machine.loop(call);
    for (auto _ : state) loop.execute();
    if (loop.hasFailed()) state.SkipWithError("script failed");
    state.SetItemsProcessed(state.iterations() * kCalls);
}

BENCHMARK_CAPTURE(runLoop, method_qel, "a.add(i, 2)", false)->Name("Call/Method/qel");
BENCHMARK_CAPTURE(runLoop, method_raw, "a.add(i, 2)", true)->Name("Call/Method/raw_closure");
BENCHMARK_CAPTURE(runLoop, text_qel, "a.length(\"text\")", false)->Name("Call/Text/qel");
BENCHMARK_CAPTURE(runLoop, text_raw, "a.length(\"text\")", true)->Name("Call/Text/raw_closure");
BENCHMARK_CAPTURE(runLoop, static_qel, "c.addBoth(i, 2)", false)->Name("Call/Static/qel");
BENCHMARK_CAPTURE(runLoop, static_raw, "c.addBoth(i, 2)", true)->Name("Call/Static/raw_closure");

#if QEL_PEER_LUA

int luaAdd(lua_State* lua) {
    auto* adder = *static_cast<Adder**>(luaL_checkudata(lua, 1, "Adder"));
    lua_pushinteger(lua, adder->add(static_cast<int>(luaL_checkinteger(lua, 2)),
                                    static_cast<int>(luaL_checkinteger(lua, 3))));
    return 1;
}

void runLua(benchmark::State& state) {
    Adder adder;
    lua_State* lua = luaL_newstate();
    luaL_newmetatable(lua, "Adder");
    lua_newtable(lua);
    lua_pushcfunction(lua, &luaAdd);
    lua_setfield(lua, -2, "add");
    lua_setfield(lua, -2, "__index");
    *static_cast<Adder**>(lua_newuserdatauv(lua, sizeof(Adder*), 0)) = &adder;
    luaL_setmetatable(lua, "Adder");
    lua_setglobal(lua, "adder");
    std::string source =
        "return function() local a = adder; for i = 1, " + std::to_string(kCalls) + " do a:add(i, 2) end end";
    if (luaL_dostring(lua, source.c_str()) != LUA_OK) std::abort();
    for (auto _ : state) {
        lua_pushvalue(lua, -1);
        lua_call(lua, 0, 0);
    }
    lua_close(lua);
    state.SetItemsProcessed(state.iterations() * kCalls);
}
BENCHMARK(runLua)->Name("Call/Method/lua54");

#endif

constexpr int kThreads = 100;

// One pass over threads that all yield: each is resumed and suspends again.
void resumeThreads(benchmark::State& state) {
    qelSq::VM vm;
    qelSq::Object closure = vm.newClosure("local pause = std[\"yield\"]; for (;;) pause()", "thread");
    for (int i = 0; i < kThreads; ++i) vm.createThread(closure);
    vm.processEvents();
    for (auto _ : state) vm.processEvents();
    state.SetItemsProcessed(state.iterations() * kThreads);
}
BENCHMARK(resumeThreads)->Name("Resume/Thread/qel");

void resumeGenerators(benchmark::State& state) {
    qelSq::VM vm;
    vm.executeString("function run() { for (;;) yield }\n::all <- array(100).map(@(x) run())", "setup");
    std::string source =
        "local g = all; for (local i = 0; i < " + std::to_string(kThreads) + "; i++) resume g[i]";
    qelSq::Functor pass = vm.newClosure(source, "pass").asClosure().getFunctorOnRoot();
    for (auto _ : state) pass.execute();
    if (pass.hasFailed()) state.SkipWithError("script failed");
    state.SetItemsProcessed(state.iterations() * kThreads);
}
BENCHMARK(resumeGenerators)->Name("Resume/Thread/generator");

// The cost of the nesting limit in addition to the compiler itself.
void compile(benchmark::State& state) {
    qelSq::VM vm;
    std::string source;
    for (int i = 0; i < 200; ++i) {
        source +=
            "function f" + std::to_string(i) + "(a, b = 1) { if (a > b) { return [a, b, { c = -a }] } }\n";
    }
    for (auto _ : state) benchmark::DoNotOptimize(vm.compileSource(source.data(), source.size(), "bench"));
    state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(source.size()));
}
BENCHMARK(compile)->Name("Compile/Source/qel");

void compileRaw(benchmark::State& state) {
    qelSq::VM vm;
    SQVM* machine = vm.getSquirrelVM();
    std::string source;
    for (int i = 0; i < 200; ++i) {
        source +=
            "function f" + std::to_string(i) + "(a, b = 1) { if (a > b) { return [a, b, { c = -a }] } }\n";
    }
    for (auto _ : state) {
        sq_compilebuffer(machine, source.data(), static_cast<SQInteger>(source.size()), "bench", SQTrue);
        sq_poptop(machine);
    }
    state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(source.size()));
}
BENCHMARK(compileRaw)->Name("Compile/Source/raw_compiler");

} // namespace
