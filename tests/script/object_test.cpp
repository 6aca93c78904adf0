#include "script_fixture.h"

namespace {

using qel::test::LogCapture;
using qelSq::Object;

using ScriptObject = qel::test::ScriptFixture;

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
