#include <tests/support/log_capture.h>
#include <tests/support/system_fixture.h>

#include <qel/system/tasks/alarm.h>

namespace qel {
namespace {

/// Counts itself as long as it lives.
template <typename Base>
class Counted : public Base {
public:
    explicit Counted(int& alive) : m_alive(alive) { ++m_alive; }
    ~Counted() override { --m_alive; }

private:
    int& m_alive;
};

class SystemLifecycle : public ::testing::Test {
protected:
    void TearDown() override {
        if (internal::g_system != nullptr) System::deinitialize();
        EXPECT_EQ(alive, 0);
    }

    int alive = 0; ///< objects of a test that count themselves
    test::LogCapture log;
};

TEST_F(SystemLifecycle, TheApplicationIsMadeOnFirstUseAndAgainAfterClearing) {
    int made = 0;
    System::initialize([&] {
        ++made;
        return new Counted<Application>(alive);
    });
    EXPECT_EQ(made, 0);
    Application* const application = Object::application();
    EXPECT_EQ(Object::application(), application);
    Object::system()->clearApplication();
    EXPECT_EQ(alive, 0);
    EXPECT_NE(Object::application(), nullptr);
    EXPECT_EQ(made, 2);
}

TEST_F(SystemLifecycle, ASecondInitializeIsLoggedAndChangesNothing) {
    System::initialize([&] { return new Counted<Application>(alive); });
    System* const first = Object::system();
    System::initialize([]() -> Application* { return nullptr; });
    log.expect(3, "trying to reinitialize qel::System");
    EXPECT_EQ(Object::system(), first);
    EXPECT_NE(Object::application(), nullptr);
}

TEST_F(SystemLifecycle, OpenReferencesKeepTheSystemRunning) {
    System::initialize({});
    SmartPointer<System> open = Object::system();
    System::deinitialize();
    log.expect(2, "trying to deinitialize qel::System, but there are still open references");
    ASSERT_NE(internal::g_system, nullptr);
    open->processEvents(0);
    open = nullptr;
    System::deinitialize();
    EXPECT_EQ(internal::g_system, nullptr);
    System::deinitialize();
    log.expect(3, "trying to deinitialize non-existant qel::System");
}

TEST_F(SystemLifecycle, StoppingReleasesTimedReferencesAndAlarms) {
    System::initialize({});
    SmartPointer<Object> noted = new Counted<Object>(alive);
    noted->takeTimedReference();
    noted = nullptr;
    EXPECT_EQ(alive, 1);
    const SmartPointer<Alarm> alarm = new Alarm;
    alarm->scheduleInSeconds(5);
    System::deinitialize();
    EXPECT_EQ(alive, 0);
    EXPECT_FALSE(alarm->isScheduled());
    EXPECT_EQ(alarm->getReferenceCount(), 1);
    alarm->cancel(); // harmless, though the wheel is gone
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
