#include "script_fixture.h"

#include <qel/script/class_binder.h>
#include <qel/script/core_imports.h>

#include <stdexcept>

namespace {

using qel::String;
using qelSq::ClassBinder;

class Lamp : public qel::Object {
    QEL_CLASS(Lamp, qel::Object)

public:
    int add(int a, float b) const { return brightness + a + static_cast<int>(b); }
    String label(const String& text, const char* unit, bool loud) { return text + unit + (loud ? "!" : "."); }
    bool isSame(Lamp* other) { return other == this; }
    double middle(const qel::Rect& rect) { return static_cast<double>(rect.x0 + rect.x1) / 2; }
    qel::StringId intern(qel::StringId id) { return id; }
    void fail() { throw std::runtime_error("lamp broke"); }
    static int64_t twice(long long value) { return value * 2; }

    static void bindSqVM(qelSq::Object* cls) {
        qel::Object::bindSqVM(cls);
        ClassBinder<Lamp>(cls)
            .staticFunction<&Lamp::getStaticClassName>("getClassName")
            .method<&Lamp::add>("add")
            .method<&Lamp::label>("label")
            .method<&Lamp::isSame>("isSame")
            .method<&Lamp::middle>("middle")
            .method<&Lamp::intern>("intern")
            .method<&Lamp::fail>("fail")
            .staticFunction<&Lamp::twice>("twice")
            .property<&Lamp::brightness>("brightness");
    }

    int brightness = 100;
};

class ScriptBinding : public qel::test::ScriptFixture {
protected:
    void SetUp() override {
        ScriptFixture::SetUp();
        qelSq::importClass<Lamp>(&vm(), "util");
        run("::lamp <- util.Lamp(); import(\"qel.Rect\")\n"
            "class Bright extends util.Lamp { constructor() { base.constructor(); brightness = 200 } }");
    }
};

TEST_F(ScriptBinding, ArgumentsAndResultsAreConverted) {
    const std::pair<const char*, const char*> cases[] = {
        {"lamp.add(20, 3.9)", "123"},
        {"lamp.add(\"7\", [])", "100"},
        {"util.Lamp.twice(21)", "42"},
        {"lamp.isSame(lamp)", "true"},
        {"lamp.isSame(null)", "false"},
        {"lamp.intern(\"id\")", "id"},
        {"lamp.middle(lamp) == 0.0", "true"},
        {"lamp.label(\"12\", \" lm\", 1)", "12 lm!"},
        {"lamp.label(5, true, false)", "5true."},
        {"lamp.label(class { function _tostring() { return \"own\" } }(), 1.5, {})", "own1.5!"},
        {"lamp.label(class { function _tostring() { throw 1 } }(), \"u\", false)", "u."},
        {"Bright().add(1, 1)", "202"},
        {"Bright().getReferenceCount()", "1"},
    };
    for (const auto& [source, expected] : cases) EXPECT_EQ(text(source), expected) << source;
}

TEST_F(ScriptBinding, WrongCallsAreScriptErrors) {
    run("class Dark extends util.Lamp { constructor() {} }\n"
        "class DarkRect extends qel.Rect { constructor() {} }\n"
        "import(\"qel.System\"); ::system <- qel.System()");
    const std::pair<const char*, std::vector<const char*>> cases[] = {
        {"invalid argument count on native method call",
         {"lamp.add(1)", "util.Lamp.__qel_setTable.brightness.call(lamp)"}},
        {"invalid argument count on native static method call", {"util.Lamp.twice()"}},
        {"native method call on null-pointer",
         {"lamp.add.call(null, 1, 2)", "lamp.add.call(qel.Rect(), 1, 2)", "qel.Rect.constructor.call(lamp)",
          "Dark().add(1, 2)", "std.queue().push.call({}, print)"}},
        {"native get on null-pointer",
         {"util.Lamp.__qel_getTable.brightness.call(qel.Rect())", "local b = Dark().brightness"}},
        {"native set on null-pointer",
         {"util.Lamp.__qel_setTable.brightness.call(qel.Rect(), 1)", "Dark().brightness = 1"}},
        {"cloning native qel class with null-pointer", {"clone Dark()"}},
        {"clone of native class with null-pointer", {"clone DarkRect()", "qel.Rect().cloned(lamp)"}},
        {"constructor called on native noconstructor qel class",
         {"system.getclass()()", "system.signalApplicationTick.getclass()()"}},
        {"clone called on native noconstructor qel class", {"clone system"}},
        {"the index 'nothing' does not exist", {"local x = lamp.nothing", "lamp.nothing = 1"}},
        {"clone called on native nocopy qel class", {"clone std.queue()"}},
        {"invalid argument count on system call", {"std.system()", "std.system_ext(\"/\")"}},
        {"3rd argument on system_ext_array must be an array of strings",
         {"std.system_ext_array(\"/\", \"sh\", \"x\")"}},
        {"lamp broke", {"lamp.fail()"}}};
    for (const auto& [error, sources] : cases) {
        for (const char* source : sources) expectError(source, error);
    }
    run("::result <- null; collectgarbage()");
    passAfter(1); // works only if the System still owns its signal
}

TEST_F(ScriptBinding, CloneCopiesAndRepeatedConstructionKeepsObjects) {
    run("::a <- qel.Rect(); a.x1 = 4; ::b <- clone a; b.x1 = 9; ::dim <- clone lamp; dim.brightness = 1");
    EXPECT_EQ(text("a.x1 + lamp.brightness"), "104");
    run("a.constructor(); lamp.brightness = 3; lamp.constructor(); lamp.cloned(util.Lamp())");
    EXPECT_EQ(text("a.x1 + lamp.brightness"), "3");
    run("a.cloned(b)");
    EXPECT_EQ(text("a.x1"), "9");
}

TEST_F(ScriptBinding, StringForCharArrayFitsOrIsEmpty) {
    const size_t capacity = 6;
    auto copy = [](HSQUIRRELVM machine) -> SQInteger {
        SQUserPointer data = nullptr;
        sq_getuserdata(machine, -1, &data, nullptr);
        char buffer[capacity];
        qelSq::InitializeCharArrayAccess(machine, 2, buffer, *static_cast<size_t*>(data));
        sq_pushstring(machine, buffer, -1);
        return 1;
    };
    vm().getRootTable().asTable().squirrelFunction("fixed", copy, &capacity, sizeof(capacity));
    EXPECT_EQ(text("fixed(1234)"), "1234");
    EXPECT_EQ(text("fixed(\"12345\")"), "");
}

} // namespace
