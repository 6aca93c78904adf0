#include <qel/rpc/rpc_provider.h>

#include "../support/log_capture.h"
#include "../support/system_fixture.h"

#include <qel/foundation/base/smart_pointer.h>

#include <functional>
#include <optional>
#include <thread>

namespace {

using namespace qel;
using test::LogCapture;

class RpcTest : public test::SystemFixture {
protected:
    /// Registers @p function as "work" and starts a call of it with @p arguments; it runs in the next pass.
    SmartPointer<RpcHandle> startCall(RpcFunction function, const Item& arguments = {}) {
        provider->addRPC("work", std::move(function), "", "");
        SmartPointer<RpcHandle> call = provider->createLocalRPC();
        call->setMethodName("work");
        call->setArguments(arguments);
        call->delegateFinished.connect([this](RpcHandle*) { ++finished; });
        EXPECT_TRUE(call->start());
        return call;
    }

    void SetUp() override {
        SystemFixture::SetUp();
        provider.emplace();
    }
    void TearDown() override {
        provider.reset();
        SystemFixture::TearDown();
    }

    std::optional<RpcProvider> provider;
    int finished = 0;
};

TEST_F(RpcTest, ACallRunsOnceInTheNextPassWithItsArgumentsAndGivesItsResult) {
    LogCapture log;
    const GUID user = GUID::fromString(std::string(64, 'A').c_str());
    int runs = 0;
    const auto call = startCall(
        [&](const RpcContext& context) {
            ++runs;
            String text;
            EXPECT_TRUE(RpcContext(context).args().asString(text)) << "all contexts share one reader";
            int32 number = 0;
            EXPECT_TRUE(context.args().asInteger(number));
            EXPECT_EQ(context.getMethodName(), "work");
            EXPECT_EQ(context.getUserGUID(), user);
            EXPECT_FALSE(context.hasRight("any"));
            context.result().add(text + "!").add(number + 1);
            context.finish();
            context.finish();
        },
        Item("a").add(41));
    call->setUserGUID(user);
    EXPECT_TRUE(call->start()) << "a second start is no second run";
    EXPECT_EQ(runs, 0);
    passAfter(1);
    passAfter(1);
    EXPECT_EQ(runs, 1);
    EXPECT_EQ(finished, 1);
    EXPECT_FALSE(call->hasFailed());
    EXPECT_EQ(call->result(), Item("a!").add(42));
    log.expect(1, "posted mainqueue");
    EXPECT_TRUE(log.take().empty());
}

TEST_F(RpcTest, AnUnknownMethodFailsAndFinishesTheCall) {
    LogCapture log;
    const auto call = startCall({}, Item("x").add(7));
    provider->removeRPC("work");
    provider->removeRPC("nobody's");
    passAfter(1);
    EXPECT_TRUE(call->hasFailed());
    EXPECT_EQ(finished, 1);
    log.expect(2, "unknown local rpc call 'work' with arguments {<STR:x><INT:7>}");
}

TEST_F(RpcTest, AForgottenFinishIsLoggedAndMadeUpFor) {
    LogCapture log;
    startCall([](const RpcContext& context) { RpcContext(context).result().addTrue(); });
    passAfter(1);
    EXPECT_EQ(finished, 1);
    log.expect(3, "rpc call 'work' ended without calling finish");
}

TEST_F(RpcTest, ACallStaysOpenUntilItsLastContextGoes) {
    std::optional<RpcContext> kept;
    std::optional<RpcContext> moved;
    const auto call = startCall([&](const RpcContext& context) { kept = context; });
    passAfter(1);
    EXPECT_EQ(finished, 0);
    moved.emplace(std::move(*kept));
    kept.reset();
    EXPECT_EQ(finished, 0) << "a move takes the place of its source";
    std::thread([&] { moved.reset(); }).join();
    EXPECT_EQ(finished, 1);

    const auto early = startCall([&](const RpcContext& context) {
        kept = context;
        context.finish();
    });
    passAfter(1);
    EXPECT_EQ(finished, 2);
    kept.reset();
    EXPECT_EQ(finished, 2);
}

TEST_F(RpcTest, EventHandlersAreCalledInOrderUntilTheyHaveSeenEnough) {
    std::string order;
    int turns = 0;
    const auto call = startCall([&](const RpcContext& context) {
        context.addEventHandler([&](const RpcContext& event) {
            order += 'a';
            if (turns == 0) {
                event.addEventHandler([&](const RpcContext&) {
                    order += 'n';
                    return false;
                });
            }
            return ++turns < 2;
        });
        context.addEventHandler([&](const RpcContext& event) {
            order += 'b';
            if (turns < 2) return true;
            event.finish();
            return false;
        });
    });
    passAfter(1);
    EXPECT_TRUE(call->hasEventHandlers());
    call->callEventHandlers(call.get());
    EXPECT_EQ(order, "ab") << "one added during an event is called from the next on";
    EXPECT_EQ(finished, 0);
    call->callEventHandlers(call.get());
    EXPECT_EQ(order, "ababn");
    EXPECT_FALSE(call->hasEventHandlers());
    call->callEventHandlers(call.get());
    EXPECT_EQ(order, "ababn");
    EXPECT_EQ(finished, 1);
}

TEST_F(RpcTest, AnEventHandlerThatForgetsToFinishIsLoggedAtOnceAndTheCallFinishedBehindIt) {
    LogCapture log;
    const auto call = startCall(
        [](const RpcContext& context) { context.addEventHandler([](const RpcContext&) { return false; }); });
    passAfter(1);
    EXPECT_EQ(finished, 0);
    call->callEventHandlers(call.get());
    EXPECT_EQ(finished, 1);
    log.expect(3, "rpc call 'work' ended without calling finish in eventhandler");
}

TEST_F(RpcTest, EventsWithinEventsAndExceptionsLeaveTheListWhole) {
    SmartPointer<RpcHandle> call;
    int calls = 0;
    call = startCall([&](const RpcContext& context) {
        context.addEventHandler([&](const RpcContext&) {
            ++calls;
            call->callEventHandlers(call.get());
            if (calls == 1) throw std::runtime_error("torn");
            return true;
        });
    });
    passAfter(1);
    EXPECT_THROW(call->callEventHandlers(call.get()), std::runtime_error);
    call->callEventHandlers(call.get());
    EXPECT_EQ(calls, 2);
    EXPECT_TRUE(call->hasEventHandlers());
    EXPECT_FALSE(call->isFinished());
}

TEST_F(RpcTest, AHandlerMayReplaceOrRemoveItself) {
    const std::string witness(64, 'w');
    const auto call = startCall([this, witness](const RpcContext& context) {
        provider->removeRPC("work");
        context.result().add(witness);
        context.finish();
    });
    passAfter(1);
    EXPECT_EQ(call->result(), Item(witness));
}

TEST_F(RpcTest, RightsAreRecordedByNameAndOutliveTheHandler) {
    provider->addRPCWithRight(
        "a", "rpc:a", [](const RpcContext&) {}, "", "");
    provider->addRPCWithRight(
        "b", nullptr, [](const RpcContext&) {}, "", "");
    provider->addRPC(
        "c", [](const RpcContext&) {}, "", "");
    EXPECT_EQ(provider->getMethodNames(), (Vector<String>{"a", "b", "c"}));
    provider->removeRPC("a");
    EXPECT_EQ(provider->findRPC("a"), nullptr);
    ASSERT_NE(provider->findRight("a"), nullptr);
    EXPECT_EQ(*provider->findRight("a"), "rpc:a");
    EXPECT_EQ(*provider->findRight("b"), "");
    EXPECT_EQ(provider->findRight("c"), nullptr);
}

TEST_F(RpcTest, ACallWhoseProviderHasDiedFails) {
    const auto call = provider->createLocalRPC();
    const auto queued = startCall([](const RpcContext&) { FAIL(); });
    provider.reset();
    EXPECT_FALSE(call->start());
    EXPECT_TRUE(call->hasFailed());
    EXPECT_TRUE(call->isFinished());
    queued->wait();
    passAfter(1);
    EXPECT_FALSE(queued->isFinished());
}

TEST_F(RpcTest, AWaitingThreadSeesTheResult) {
    const auto call = startCall([](const RpcContext& context) {
        context.result().add(5);
        context.finish();
    });
    std::optional<Item> seen;
    std::thread waiter([&] {
        call->wait();
        seen = call->result();
    });
    passAfter(1);
    waiter.join();
    EXPECT_EQ(*seen, Item(5));
}

} // namespace
