#include <qel/rpc/rpc_provider.h>

#include <tests/files/file_fixture.h>

#include <optional>
#include <thread>

namespace {

using namespace qel;

class RpcTest : public test::SystemFileFixture {
protected:
    void TearDown() override {
        provider.reset();
        SystemFileFixture::TearDown();
    }
    /// Registers @p function as "work" and starts a call, which runs in the next pass.
    SmartPointer<RpcHandle> start(RpcFunction function, const Item& arguments = {}) {
        provider->addRPC("work", std::move(function), "", "");
        SmartPointer<RpcHandle> call = provider->createLocalRPC();
        call->setMethodName("work");
        call->setArguments(arguments);
        call->delegateFinished.connect([this](RpcHandle*) { ++finished; });
        EXPECT_TRUE(call->start());
        return call;
    }

    std::optional<RpcProvider> provider{std::in_place};
    int finished = 0;
};

TEST_F(RpcTest, ACallRunsOnceInTheNextPass) {
    const GUID user = GUID::fromString(std::string(64, 'A').c_str());
    const std::string witness(64, 'w');
    const auto work = [&, witness](const RpcContext& context) {
        provider->removeRPC("work"); // a handler that removes itself stays valid while it runs
        String text;
        int32 number = 0;
        EXPECT_TRUE(RpcContext(context).args().asString(text));
        EXPECT_TRUE(context.args().asInteger(number)) << "copies share one reader";
        EXPECT_EQ(context.getUserGUID(), user);
        context.result().add(text).add(number + 1).add(witness);
        context.finish();
        context.finish();
    };
    const auto call = start(work, Item("a").add(41));
    call->setUserGUID(user);
    EXPECT_TRUE(call->start()) << "a second start has no effect";
    std::thread waiter([&] { call->wait(); });
    EXPECT_FALSE(call->isFinished());
    passAfter(1);
    passAfter(1);
    waiter.join();
    EXPECT_EQ(finished, 1);
    EXPECT_FALSE(call->hasFailed());
    EXPECT_EQ(call->result(), Item("a").add(42).add(witness));
    log.expect(1, "posted mainqueue");
    log.take(); // the pauses of wait() advance the clock, so that a pass may seem to take long
}

TEST_F(RpcTest, EventHandlersAreCalledUntilTheyReturnFalse) {
    std::string order;
    int turn = 0;
    const auto call = start([&](const RpcContext& context) {
        context.addEventHandler([&](const RpcContext& event) {
            order += 'a';
            if (turn == 1) event.addEventHandler([&](const RpcContext&) { return order += 'n', false; });
            return turn < 2;
        });
        context.addEventHandler([&](const RpcContext& event) {
            order += 'b';
            if (turn == 2) event.finish();
            return turn < 2;
        });
    });
    passAfter(1);
    const std::pair<const char*, bool> afterTurns[] = {{"ab", true}, {"ababn", false}, {"ababn", false}};
    for (const auto& [expected, areThereMore] : afterTurns) {
        ++turn;
        call->callEventHandlers(call.get());
        EXPECT_EQ(order, expected) << "a handler added during an event is called for the next one";
        EXPECT_EQ(call->hasEventHandlers(), areThereMore);
    }
    EXPECT_EQ(finished, 1);
}

TEST_F(RpcTest, ARightIsKeptWhenTheHandlerIsRemoved) {
    provider->addRPCWithRight("a", "rpc:a", {}, "", "");
    provider->addRPC("b", {}, "", "");
    EXPECT_EQ(provider->getMethodNames(), (Vector<String>{"a", "b"}));
    provider->removeRPC("a");
    EXPECT_FALSE(provider->findRPC("a"));
    ASSERT_TRUE(provider->findRight("a"));
    EXPECT_EQ(*provider->findRight("a"), "rpc:a");
    EXPECT_FALSE(provider->findRight("b"));
}

TEST_F(RpcTest, ACallWithoutItsProviderFails) {
    const auto call = provider->createLocalRPC();
    const auto queued = start([](const RpcContext&) { FAIL(); });
    provider.reset();
    EXPECT_FALSE(call->start());
    EXPECT_TRUE(call->hasFailed());
    EXPECT_TRUE(call->isFinished());
    queued->wait();
    passAfter(1);
    EXPECT_FALSE(queued->isFinished());
}

} // namespace
