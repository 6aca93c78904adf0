#include "script_fixture.h"

#include <limits>

namespace {

using qel::test::LogCapture;
using qelSq::Object;

using ScriptObject = qel::test::ScriptFixture;

TEST_F(ScriptObject, AnythingButFalseNullAndZeroIsTrue) {
    for (const Object& truth :
         {Object::of(std::numeric_limits<float>::quiet_NaN()), Object::of(""), Object::of(-1)})
        EXPECT_TRUE(truth.asBool());
    for (const Object& untruth : {Object::of(0), Object::of(-0.0f), Object::of(false), Object()})
        EXPECT_FALSE(untruth.asBool());
}

TEST_F(ScriptObject, OtherTypesConvertToDefaultValues) {
    EXPECT_EQ(Object::of(2.9f).asInteger(), 2);
    for (const Object& noNumber : {Object::of(true), Object::of("12")}) EXPECT_EQ(noNumber.asInteger(), 0);
    EXPECT_EQ(Object::of(3).asString(), "");
    Object text = Object::of("text");
    EXPECT_TRUE(text.asTable().getKeyValuePairs().empty());
    EXPECT_TRUE(text.asArray().getValues().empty());
    EXPECT_FALSE(text.asArray().append(text));
    EXPECT_FALSE(text.set("key", text));
    EXPECT_TRUE(text.asInstance().getClass().isNull());
    EXPECT_TRUE(text.get("key").isNull());
}

TEST_F(ScriptObject, StackOfTheMachineStaysBalanced) {
    LogCapture capture;
    SQInteger top = sq_gettop(vm().getSquirrelVM());
    Object table = evaluate("{ a = 1 }");
    table.get("missing");
    table.set(Object(), Object());
    table.asTable().getKeyValuePairs();
    evaluate("[1]").asArray().pop();
    vm().construct("no.such.name");
    Object().asArray().append(table);
    EXPECT_EQ(sq_gettop(vm().getSquirrelVM()), top);
    EXPECT_EQ(capture.take().size(), 2u);
}

TEST_F(ScriptObject, ArrayViewChangesElementsWithinBounds) {
    Object array = vm().newArray(1);
    auto view = array.asArray();
    EXPECT_TRUE(view.append(Object::of("b")));
    EXPECT_TRUE(view.insert(0, Object::of("a")));
    EXPECT_TRUE(view.remove(1));
    EXPECT_FALSE(view.insert(9, array));
    EXPECT_FALSE(view.insert(-1, array));
    EXPECT_FALSE(view.remove(7));
    EXPECT_FALSE(view.resize(-1));
    EXPECT_TRUE(view.reverse());
    EXPECT_TRUE(view.resize(1));
    EXPECT_EQ(view.pop().asString(), "b");
    EXPECT_TRUE(view.pop().isNull());
}

TEST_F(ScriptObject, FunctorsRecordFailuresAndCompareTheirParts) {
    Object closure = evaluate("function() { throw \"no\" }"), receiver = vm().newTable();
    auto failing = closure.asClosure();
    auto functor = failing.getFunctorOn(receiver);
    EXPECT_TRUE(functor == failing.getFunctorOn(receiver));
    EXPECT_FALSE(functor == failing.getFunctorOnRoot());
    LogCapture capture;
    functor.execute();
    EXPECT_EQ(capture.take().size(), 1u);
    EXPECT_TRUE(functor.hasFailed());
}

TEST_F(ScriptObject, PretendedGuidIsNull) {
    const Object pretender = evaluate("class { static __qel_nativeClassName = \"GUID\" }()");
    EXPECT_TRUE(pretender.isGUID());
    EXPECT_TRUE(pretender.asGUID().isNull());
}

TEST_F(ScriptObject, HandleMayOutliveItsMachine) {
    Object survivor = evaluate("{ a = \"text\" }");
    Object copy = survivor;
    qel::System::deinitialize();
    EXPECT_TRUE(survivor.isNull());
    EXPECT_TRUE(Object::of("text").isNull());
    qel::System::initialize({});
    EXPECT_TRUE(survivor.isNull());
    EXPECT_TRUE(copy.get("a").isNull());
    EXPECT_TRUE(evaluate("{ a = 1 }").isTable());
}

} // namespace
