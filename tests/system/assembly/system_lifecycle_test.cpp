#include <tests/support/log_capture.h>
#include <tests/support/system_fixture.h>

#include <qel/system/tasks/alarm.h>
#include <qel/system/tasks/task_queue.h>

namespace qel {
namespace {

using test::LogCapture;

class SystemLifecycle : public ::testing::Test {
protected:
    void TearDown() override {
        if (internal::g_system != nullptr) System::deinitialize();
        EXPECT_EQ(alive, 0);
    }

    int alive = 0; ///< objects of a test that count themselves
};

class CountedApplication : public Application {
public:
    explicit CountedApplication(int& alive) : m_alive(alive) { ++m_alive; }
    ~CountedApplication() override { --m_alive; }

private:
    int& m_alive;
};

TEST_F(SystemLifecycle, ASecondInitializeIsLoggedAndChangesNothing) {
    System::initialize([&] { return new CountedApplication(alive); });
    System* const first = Object::system();
    LogCapture log;
    System::initialize([]() -> Application* { return nullptr; });
    log.expect(3, "trying to reinitialize qel::System");
    EXPECT_EQ(Object::system(), first);
    EXPECT_NE(Object::application(), nullptr);
    EXPECT_EQ(alive, 1);
    System::deinitialize();
    EXPECT_EQ(alive, 0);
}

TEST_F(SystemLifecycle, TheApplicationIsMadeOnFirstUseAndAgainAfterClearing) {
    int made = 0;
    System::initialize([&] {
        ++made;
        return new CountedApplication(alive);
    });
    EXPECT_EQ(made, 0);
    Application* const application = Object::application();
    EXPECT_EQ(Object::application(), application);
    Object::system()->clearApplication();
    EXPECT_EQ(alive, 0);
    EXPECT_NE(Object::application(), nullptr);
    EXPECT_EQ(made, 2);
}

TEST_F(SystemLifecycle, OpenReferencesKeepTheSystemRunning) {
    System::initialize({});
    LogCapture log;
    {
        const SmartPointer<System> open = Object::system();
        System::deinitialize();
        log.expect(2, "trying to deinitialize qel::System, but there are still open references");
        ASSERT_NE(internal::g_system, nullptr);
        open->processEvents(0);
    }
    System::deinitialize();
    EXPECT_EQ(internal::g_system, nullptr);
    System::deinitialize();
    log.expect(3, "trying to deinitialize non-existant qel::System");
}

TEST_F(SystemLifecycle, InitializeWorksAgainAfterDeinitialize) {
    for (int round = 0; round < 3; ++round) {
        System::initialize({});
        int ran = 0;
        Object::system()->getGlobalMainQueue()->pushTask(new TaskQueue::LambdaNoContextTask([&] { ++ran; }),
                                                         0);
        Object::system()->processEvents(0);
        EXPECT_EQ(ran, 1);
        System::deinitialize();
        EXPECT_EQ(internal::g_system, nullptr);
    }
}

TEST_F(SystemLifecycle, StoppingReleasesTimedReferencesAndAlarms) {
    class Noted : public Object {
    public:
        explicit Noted(int& alive) : m_alive(alive) { ++m_alive; }
        ~Noted() override { --m_alive; }

    private:
        int& m_alive;
    };
    System::initialize({});
    SmartPointer<Noted> noted = new Noted(alive);
    noted->takeTimedReference();
    noted = nullptr;
    EXPECT_EQ(alive, 1);
    SmartPointer<Alarm> alarm = new Alarm;
    alarm->trigger.connect([held = SmartPointer<Noted>(new Noted(alive))] {});
    alarm->scheduleInSeconds(5);
    System::deinitialize();
    EXPECT_EQ(alive, 1) << "the alarm's own reference is the caller's";
    EXPECT_FALSE(alarm->isScheduled());
    alarm = nullptr;
    EXPECT_EQ(alive, 0);
}

TEST_F(SystemLifecycle, ArgumentsMayComeWithTheStart) {
    const char* arguments[] = {"program", "--flag"};
    int argc = 2;
    System::initialize(argc, const_cast<char**>(arguments), {});
    EXPECT_TRUE(Object::system()->hasArgument("--flag"));
    EXPECT_NE(Object::system()->getExecutablePath(), "program") << "the platform's own answer comes first";
}

} // namespace
} // namespace qel
