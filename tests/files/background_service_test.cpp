#include <qel/files/default_background_service.h>
#include <qel/files/systemd_background_service.h>
#include <qel/platform/interrupt.h>
#include <tests/files/file_fixture.h>
#include <tests/support/environment.h>
#include <tests/support/formats_page.h>

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace qel {
namespace {

using Messages = std::vector<std::string>;

/// Collects the messages of a service, each with the prefix "I ", "W " or "E ".
void listen(BackgroundService& service, Messages& heard) {
    const auto keep = [&heard](const char* kind) {
        return [&heard, kind](BackgroundService*, const char* text) { heard.push_back(kind + String(text)); };
    };
    service.signalInfoMessage.connect(keep("I "));
    service.signalWarningMessage.connect(keep("W "));
    service.signalErrorMessage.connect(keep("E "));
}

void runShell(BackgroundService& service, const char* script) {
    service.setProcessFilePath("/bin/sh");
    service.addCommandLineArg("-c");
    service.addCommandLineArg(script);
}

class TestedService : public DefaultBackgroundService {
public:
    using DefaultBackgroundService::DefaultBackgroundService;
    using DefaultBackgroundService::tick;
    bool hasChild() const { return m_process != nullptr; }
};

class ChildServiceTest : public test::SystemFileFixture {
protected:
    ChildServiceTest() { listen(*service, heard); }

    SmartPointer<TestedService> service = new TestedService;
    Messages heard;
};

TEST_F(ChildServiceTest, AChildIsRestartedAtMostOnceASecond) {
    runShell(*service, "printf 'WARN and FATAL\\na WARN\\nlast words'");
    service->start();
    for (int starts = 1; starts <= 3; ++starts) {
        while (service->hasChild()) service->tick();
        std::sort(heard.begin(), heard.end());
        EXPECT_EQ(heard, (Messages{"E WARN and FATAL", "I killing process /bin/sh ...", "I last words",
                                   "I spawning process /bin/sh ...", "W a WARN"}));
        heard.clear();
        clock.advanceMs(999);
        service->tick();
        EXPECT_FALSE(service->hasChild());
        clock.advanceMs(1);
        service->tick();
        EXPECT_TRUE(service->hasChild());
    }
    service->stop();
}

TEST_F(ChildServiceTest, AStepIsBoundedWhateverTheChildWrites) {
    runShell(*service, "yes; exit");
    service->start();
    while (heard.size() < 10'000) service->tick();
    EXPECT_TRUE(service->stop());
    service->signalInfoMessage.connect([&](auto...) { service = nullptr; });
    clock.advanceMs(1000);
    service->start();
    EXPECT_FALSE(service);
}

TEST_F(ChildServiceTest, TheEnabledStateIsStoredInAFile) {
    system().setApplicationDirectory(folder.path());
    for (const bool byDefault : {false, true}) {
        service = new TestedService(byDefault);
        service->setServiceName(byDefault ? "b" : "a");
        EXPECT_EQ(service->isEnabled(), byDefault);
        EXPECT_TRUE(service->disable());
        EXPECT_FALSE(service->isEnabled());
        EXPECT_TRUE(service->enable());
        EXPECT_TRUE(service->isEnabled());
    }
    EXPECT_EQ(folder.read("b/service.ini"), test::documentedText("service/state") + "\n");
}

// A replacement for systemctl: it records its arguments, answers every question alike, and fails if a file
// "refuse" exists.
constexpr const char* kSystemctl = R"sh(#!/bin/sh
cd "${0%/*}/.."
if [ -e refuse ]; then printf 'one line\nAccess denied' >&2; exit 4; fi
echo "$*" >> calls
echo ActiveState=active
)sh";

class SystemdServiceTest : public test::SystemFileFixture {
protected:
    SystemdServiceTest() {
        std::filesystem::permissions(folder.write("bin/systemctl", kSystemctl), std::filesystem::perms(0755));
        service->setServiceName("qel-test");
        service->setDisplayName("100% test");
        service->setServiceProgram("/opt/a b/server", {"--name", "it's \"$HOME\" \\ 5%\n"});
        service->setUnitFolder(folder.path("units"));
        listen(*service, heard);
    }

    SmartPointer<SystemdBackgroundService> service =
        new SystemdBackgroundService(SystemdBackgroundService::Scope::User);
    Messages heard;
    test::EnvironmentVariable searchPath{"PATH", (folder.path("bin") + ":/usr/bin:/bin").c_str()};
};

TEST_F(SystemdServiceTest, TheUnitNamesTheProgramToRun) {
    service->setWatchdogSeconds(30);
    EXPECT_EQ(service->getUnitText(), test::documentedText("service/unit") + "\n");
    for (const char* name : {"", "a b", "../x", "-x", ".x", "a\nb", "ä"}) {
        service->setServiceName(name);
        EXPECT_EQ(service->getUnitPath(), "") << name;
        EXPECT_FALSE(service->install()) << name;
        EXPECT_FALSE(service->start()) << name;
        EXPECT_EQ(heard.back(), "E SystemdBackgroundService::start: invalid service name");
    }
    EXPECT_FALSE(folder.has("units")) << "systemctl was not run";
    EXPECT_FALSE(folder.has("calls")) << "systemctl was not run";
}

TEST_F(SystemdServiceTest, ItsUnitIsInstalledStartedAndUninstalled) {
    EXPECT_TRUE(service->install());
    EXPECT_EQ(folder.read("units/qel-test.service"), service->getUnitText());
    EXPECT_TRUE(service->start());
    EXPECT_TRUE(service->isRunning());
    EXPECT_TRUE(service->uninstall());
    EXPECT_FALSE(folder.has("units/qel-test.service"));
    const std::string call = "--user --no-pager --no-ask-password ";
    EXPECT_EQ(folder.read("calls"), call + "daemon-reload\n" + call + "start -- qel-test.service\n" + call +
                                        "show --property=ActiveState -- qel-test.service\n" + call +
                                        "disable -- qel-test.service\n" + call + "daemon-reload\n");
    folder.write("refuse", "");
    EXPECT_FALSE(service->start());
    EXPECT_EQ(heard.back(), "E SystemdBackgroundService::start: Access denied");
    log.take();
}

TEST_F(SystemdServiceTest, TheServiceReportsItsStateToSystemd) {
    const platform::FileHandle manager(socket(AF_UNIX, SOCK_DGRAM | SOCK_NONBLOCK, 0));
    sockaddr_un address{AF_UNIX, {}};
    path("notify").copy(address.sun_path, sizeof address.sun_path - 1);
    ASSERT_EQ(bind(manager.id(), reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
    const test::EnvironmentVariable notify("NOTIFY_SOCKET", folder.path("notify").c_str());
    const test::EnvironmentVariable limit("WATCHDOG_USEC", "2000000");
    const test::EnvironmentVariable process("WATCHDOG_PID", std::to_string(getpid()).c_str());
    runShell(*service, "cat");
    int passes = 0, saved = 0;
    system().signalSyncUnsaved.connect([&] { ++saved; });
    system().signalApplicationTick.connect([&] {
        clock.advanceMs(250);
        if (++passes == 9) System::setHitSIGINT(true);
    });
    EXPECT_TRUE(service->runEventLoop());
    System::setHitSIGINT(false);
    platform::removeInterruptHandler();
    std::string told;
    char text[256];
    for (ssize_t size; (size = recv(manager.id(), text, sizeof text, 0)) >= 0;)
        told.append(text, static_cast<size_t>(size)) += ' ';
    EXPECT_EQ(told, "READY=1 WATCHDOG=1 WATCHDOG=1 STOPPING=1 ");
    EXPECT_EQ(saved, 2);
    EXPECT_EQ(heard, (Messages{"I initializing service qel-test", "I service qel-test initialized...",
                               "I service qel-test running...", "I spawning process /bin/sh ...",
                               "I stopping service qel-test", "I killing process /bin/sh ...",
                               "I service qel-test stopped..."}));
}

} // namespace
} // namespace qel
