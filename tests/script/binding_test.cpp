#include "script_fixture.h"

#include <qel/script/class_binder.h>
#include <qel/script/core_imports.h>
#include <qel/script/vector_classes.h>

#include <stdexcept>

namespace {

using qel::String;
using qelSq::ClassBinder;
using qelSq::NativeClass;
using qelSq::Object;

int g_lamps = 0;

class Lamp : public qel::Object {
    QEL_CLASS(Lamp, qel::Object)

public:
    Lamp() { ++g_lamps; }
    Lamp(const Lamp& other) : qel::Object(other), brightness(other.brightness) { ++g_lamps; }
    ~Lamp() override { --g_lamps; }

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

class Spotlight : public Lamp {
    QEL_CLASS(Spotlight, Lamp)

public:
    static void bindSqVM(qelSq::Object* cls) { Lamp::bindSqVM(cls); }
};

class ScriptBinding : public qel::test::ScriptFixture {
protected:
    void SetUp() override {
        ScriptFixture::SetUp();
        qelSq::importClass<Lamp>(&vm(), "util");
        run("::lamp <- util.Lamp(); import(\"qel.Rect\"); import(\"qel.IVec2\"); import(\"qel.File\")");
    }

    void TearDown() override {
        ScriptFixture::TearDown();
        EXPECT_EQ(g_lamps, 0);
    }
};

TEST_F(ScriptBinding, ArgumentsAndResultsAreConverted) {
    EXPECT_EQ(evaluate("lamp.add(20, 3.9)").asInteger(), 123);
    EXPECT_EQ(evaluate("lamp.add(1.9, 2)").asInteger(), 103);
    EXPECT_EQ(evaluate("lamp.label(\"12\", \" lm\", 1)").asString(), "12 lm!");
    EXPECT_EQ(evaluate("lamp.isSame(lamp)").asBool(), true);
    EXPECT_EQ(evaluate("lamp.intern(\"id\")").asString(), "id");
    EXPECT_EQ(evaluate("util.Lamp.twice(21)").asInteger(), 42);
}

TEST_F(ScriptBinding, AnythingIsATextAndNothingElseIsANumber) {
    EXPECT_EQ(evaluate("lamp.label(5, true, false)").asString(), "5true.");
    EXPECT_EQ(evaluate("lamp.label(class { function _tostring() { return \"own\" } }(), 1.5, {})").asString(),
              "own1.5!");
    EXPECT_EQ(evaluate("lamp.add(\"7\", [])").asInteger(), 100);
    EXPECT_EQ(evaluate("lamp.isSame(null)").asBool(), false);
    EXPECT_EQ(evaluate("lamp.middle(lamp)").asFloat(), 0.0f);
}

TEST_F(ScriptBinding, AFailingToStringGivesTheEmptyText) {
    EXPECT_EQ(evaluate("lamp.label(class { function _tostring() { throw 1 } }(), \"u\", false)").asString(),
              "u.");
}

TEST_F(ScriptBinding, CountsAndReceiversAreChecked) {
    expectError("lamp.add(1)", "invalid argument count on native method call");
    expectError("lamp.add(1, 2, 3)", "invalid argument count on native method call");
    expectError("util.Lamp.twice()", "invalid argument count on native static method call");
    expectError("lamp.add.call(null, 1, 2)", "native method call on null-pointer");
    expectError("lamp.add.call(qel.Rect(), 1, 2)", "native method call on null-pointer");
    expectError("qel.Rect().leftTop.call(lamp)", "native method call on null-pointer");
    expectError("util.Lamp.__qel_getTable.brightness.call(qel.Rect())", "native get on null-pointer");
    expectError("util.Lamp.__qel_setTable.brightness.call(qel.Rect(), 1)", "native set on null-pointer");
    expectError("util.Lamp.__qel_setTable.brightness.call(lamp)",
                "invalid argument count on native method call");
}

TEST_F(ScriptBinding, AnInstanceWhoseConstructorIsPassedOverHasNoNativeSide) {
    run("class Dark extends util.Lamp { constructor() {} } class DarkRect extends qel.Rect { constructor() "
        "{} }");
    expectError("Dark().add(1, 2)", "native method call on null-pointer");
    expectError("local b = Dark().brightness", "native get on null-pointer");
    expectError("Dark().brightness = 1", "native set on null-pointer");
    expectError("clone Dark()", "cloning native qel class with null-pointer");
    expectError("clone DarkRect()", "clone of native class with null-pointer");
}

TEST_F(ScriptBinding, ScriptClassesInheritFromBoundOnes) {
    run("class Bright extends util.Lamp { constructor() { base.constructor(); brightness = 200 } }");
    EXPECT_EQ(evaluate("Bright().add(1, 1)").asInteger(), 202);
    EXPECT_EQ(evaluate("Bright().getReferenceCount()").asInteger(), 1);
}

TEST_F(ScriptBinding, NativeClassesInheritMethodsOfTheirBases) {
    qelSq::importClass<Spotlight>(&vm(), "util");
    EXPECT_EQ(evaluate("util.Spotlight().add(1, 1)").asInteger(), 102);
    EXPECT_EQ(evaluate("lamp.add.call(util.Spotlight(), 2, 2)").asInteger(), 104);
    EXPECT_EQ(evaluate("util.Spotlight().getReferenceCount()").asInteger(), 1);
}

TEST_F(ScriptBinding, PropertiesAreReadWrittenAndMissingOnesAreTheMachinesError) {
    run("lamp.brightness = 7");
    EXPECT_EQ(evaluate("lamp.brightness").asInteger(), 7);
    expectError("local x = lamp.nothing", "the index 'nothing' does not exist");
    expectError("lamp.nothing = 1", "the index 'nothing' does not exist");
}

TEST_F(ScriptBinding, ANativeExceptionBecomesAScriptError) {
    expectError("lamp.fail()", "lamp broke");
}

TEST_F(ScriptBinding, AnObjectGivenTwiceHasTwoInstancesWithTheirReferences) {
    qel::SmartPointer<Lamp> shared = new Lamp;
    SQVM* machine = vm().getSquirrelVM();
    for (const char* name : {"first", "second"}) {
        Object instance;
        NativeClass<Lamp>::push(machine, shared.get());
        instance.popFromStackAddRef(machine);
        vm().getRootTable().set(name, instance);
    }
    EXPECT_EQ(shared->getReferenceCount(), 3);
    EXPECT_TRUE(run("first.brightness = 5; if (first == second) throw 1"));
    EXPECT_EQ(evaluate("second.brightness").asInteger(), 5);
    run("first = null; second = null");
    EXPECT_EQ(shared->getReferenceCount(), 1);
}

TEST_F(ScriptBinding, TheLastInstanceDeletesItsObject) {
    EXPECT_EQ(g_lamps, 1);
    run("lamp = null");
    EXPECT_EQ(g_lamps, 0);
}

TEST_F(ScriptBinding, AValueIsCopiedByClone) {
    run("::a <- qel.Rect(); a.x1 = 4; ::b <- clone a; b.x1 = 9");
    EXPECT_EQ(evaluate("a.x1").asFloat(), 4.0f);
    EXPECT_EQ(evaluate("b.x1").asFloat(), 9.0f);
    run("::dim <- clone lamp; dim.brightness = 1");
    EXPECT_EQ(evaluate("lamp.brightness").asInteger(), 100);
}

TEST_F(ScriptBinding, ConstructorAndCloneCalledByHandKeepWhatOthersUse) {
    run("::a <- qel.Rect(); a.x1 = 4; a.constructor(); lamp.brightness = 3; lamp.constructor()");
    EXPECT_EQ(evaluate("a.x1").asFloat(), 0.0f);
    EXPECT_EQ(evaluate("lamp.brightness").asInteger(), 3);
    run("local other = qel.Rect(); other.y1 = 6; a.cloned(other); lamp.cloned(util.Lamp())");
    EXPECT_EQ(evaluate("a.y1").asFloat(), 6.0f);
    expectError("qel.Rect.constructor.call(lamp)", "native method call on null-pointer");
    expectError("a.cloned()", "clone of native class with null-pointer");
    expectError("a.cloned(lamp)", "clone of native class with null-pointer");
}

TEST_F(ScriptBinding, ClassesThatScriptsCannotMakeSaySo) {
    run("import(\"qel.System\"); ::system <- qel.System()");
    expectError("system.getclass()()", "constructor called on native noconstructor qel class");
    expectError("clone system", "clone called on native noconstructor qel class");
}

TEST_F(ScriptBinding, BoundClassesCarryTheirSlots) {
    for (const char* slot :
         {"__qel_nativeClassName", "__qel_setTable", "__qel_getTable", "weakref", "constructor", "cloned"}) {
        EXPECT_TRUE(evaluate(std::string("\"") + slot + "\" in qel.Rect").asBool()) << slot;
    }
    EXPECT_EQ(evaluate("qel.Rect().weakref().ref()").isNull(), true);
    EXPECT_EQ(evaluate("typeof lamp.weakref()").asString(), "weakref");
}

TEST_F(ScriptBinding, AVectorImportGivesUnsigned64) {
    run("::v <- qel.IVec2(); v.r = -1; v.y = 5");
    EXPECT_EQ(evaluate("v.x").asInteger(), -1);
    EXPECT_EQ(evaluate("v.g").asInteger(), 5);
    run("import(\"qel.IVec4\"); ::w <- qel.IVec4(); w.w = 8");
    EXPECT_EQ(evaluate("w.a").asInteger(), 8);
    Object corner = evaluate("(function() { local r = qel.Rect(); r.x0 = 1.5; return r.leftTop() })()");
    EXPECT_EQ(corner.get("x").asFloat(), 1.5f);
    EXPECT_EQ(corner.asInstance().getClass().getNativeClassName(), "IVec2");
}

TEST_F(ScriptBinding, ATextForACharArrayFitsOrIsEmpty) {
    auto copy = [](HSQUIRRELVM machine) -> SQInteger {
        char buffer[6];
        qelSq::InitializeCharArrayAccess(machine, 2, buffer, sizeof(buffer));
        sq_pushstring(machine, buffer, -1);
        return 1;
    };
    vm().getRootTable().asTable().squirrelFunction("fixed", copy);
    EXPECT_EQ(evaluate("fixed(1234)").asString(), "1234");
    EXPECT_EQ(evaluate("fixed(\"12345\")").asString(), "");
}

TEST_F(ScriptBinding, TheTickSignalIsReachedButNotOwned) {
    run("import(\"qel.System\"); ::system <- qel.System()");
    EXPECT_EQ(evaluate("system.signalApplicationTick.getClassName()").asString(), "_Signal");
    expectError("system.signalApplicationTick.getclass()()",
                "constructor called on native noconstructor qel class");
    run("::result <- null; collectgarbage()");
    passAfter(1);
}

TEST_F(ScriptBinding, AGuidIsOneByItsClassName) {
    EXPECT_FALSE(evaluate("std.isguid(lamp)").asBool());
    EXPECT_FALSE(evaluate("std.isguid(5)").asBool());
}

} // namespace
