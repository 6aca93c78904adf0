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
    bool isStopped() override { return !staysUp && DefaultBackgroundService::isStopped(); }

    bool staysUp = false;
};

class ChildServiceTest : public test::SystemFileFixture {
protected:
    ChildServiceTest() { listen(*service, heard); }

    SmartPointer<TestedService> service = new TestedService;
    Messages heard;
};

TEST_F(ChildServiceTest, OutputIsClassifiedByItsWords) {
    runShell(*service,
             "echo plain; echo 'a WARN'; echo 'WARN and FATAL' >&2; printf 'last ERROR\\n' >&2; cat");
    EXPECT_TRUE(service->start());
    EXPECT_TRUE(service->isRunning());
    EXPECT_FALSE(service->isStopped());
    while (heard.size() < 5) service->tick();
    std::sort(heard.begin(), heard.end());
    EXPECT_EQ(heard, (Messages{"E WARN and FATAL", "E last ERROR", "I plain",
                               "I spawning process /bin/sh ...", "W a WARN"}));
    EXPECT_TRUE(service->stop());
    EXPECT_EQ(heard.back(), "I killing process /bin/sh ...");
}

TEST_F(ChildServiceTest, AChildIsRestartedAtMostOnceASecond) {
    runShell(*service, "printf 'more\\nlast words'");
    service->start();
    for (int starts = 1; starts <= 3; ++starts) {
        while (service->hasChild()) service->tick();
        std::sort(heard.begin(), heard.end());
        EXPECT_EQ(heard, (Messages{"I killing process /bin/sh ...", "I last words", "I more",
                                   "I spawning process /bin/sh ..."}));
        heard.clear();
        clock.advanceMs(999);
        service->tick();
        EXPECT_FALSE(service->hasChild());
        clock.advanceMs(1);
        service->tick();
        EXPECT_TRUE(service->hasChild());
    }
    service->stop();
    service->setProcessFilePath(nullptr);
    service->start();
    EXPECT_FALSE(service->hasChild()) << "generic.exe does not exist";
    log.take();
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

TEST_F(ChildServiceTest, StopWaitsAtMostFiveSeconds) {
    service->staysUp = true;
    const uint32 before = system().getTime();
    EXPECT_FALSE(service->stop());
    EXPECT_EQ(system().getTime() - before, 5000u);
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

// A replacement for systemctl: it records its arguments, keeps the properties of the unit in files, and fails
// if a file "refuse" exists.
constexpr const char* kSystemctl = R"sh(#!/bin/sh
cd "${0%/*}/.."
echo "$*" >> calls
if [ -e refuse ]; then printf 'one line\nAccess denied' >&2; exit 4; fi
put() { echo "$1=$2" > "state/$1"; }
case "$4" in
    daemon-reload) if [ -e units/*.service ]; then put LoadState loaded; else put LoadState not-found; fi ;;
    enable | disable) put UnitFileState "${4}d" ;;
    start) put ActiveState active ;;
    stop) put ActiveState inactive ;;
    show) cat "state/${5#--property=}" ;;
esac
)sh";

class SystemdServiceTest : public test::SystemFileFixture {
protected:
    SystemdServiceTest() {
        std::filesystem::permissions(folder.write("bin/systemctl", kSystemctl), std::filesystem::perms(0755));
        for (const char* property : {"LoadState", "UnitFileState", "ActiveState"})
            folder.write(std::string("state/") + property, "");
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
        EXPECT_FALSE(service->isRunning()) << name;
        EXPECT_EQ(heard.back(), "E SystemdBackgroundService::isRunning: invalid service name");
    }
    EXPECT_FALSE(folder.has("units")) << "systemctl was not run";
    EXPECT_FALSE(folder.has("calls")) << "systemctl was not run";
}

TEST_F(SystemdServiceTest, AServiceGoesThroughAllItsStates) {
    EXPECT_FALSE(service->isInstalled());
    EXPECT_FALSE(service->isEnabled());
    EXPECT_FALSE(service->isRunning());
    EXPECT_TRUE(service->install());
    EXPECT_TRUE(service->isInstalled());
    EXPECT_EQ(folder.read("units/qel-test.service"), service->getUnitText());
    EXPECT_TRUE(service->enable());
    EXPECT_TRUE(service->isEnabled());
    EXPECT_TRUE(service->start());
    EXPECT_TRUE(service->isRunning());
    EXPECT_FALSE(service->isStopped());
    EXPECT_TRUE(service->stop());
    EXPECT_TRUE(service->isStopped());
    EXPECT_FALSE(service->isRunning());
    EXPECT_TRUE(service->disable());
    EXPECT_FALSE(service->isEnabled());
    std::filesystem::remove(folder.path("calls"));
    EXPECT_TRUE(service->uninstall());
    EXPECT_EQ(folder.read("calls"), "--user --no-pager --no-ask-password disable -- qel-test.service\n"
                                    "--user --no-pager --no-ask-password daemon-reload\n");
    EXPECT_FALSE(service->isInstalled());
    EXPECT_FALSE(folder.has("units/qel-test.service"));
    EXPECT_FALSE(service->uninstall());
    EXPECT_EQ(heard,
              Messages{"E SystemdBackgroundService::uninstall: there is no " + service->getUnitPath()});
}

TEST_F(SystemdServiceTest, FailuresAreReportedInSystemdsWords) {
    folder.write("refuse", "");
    EXPECT_FALSE(service->install());
    EXPECT_FALSE(service->enable());
    EXPECT_FALSE(service->disable());
    EXPECT_FALSE(service->start());
    EXPECT_FALSE(service->stop());
    EXPECT_FALSE(service->isInstalled());
    EXPECT_FALSE(service->isStopped());
    EXPECT_FALSE(service->uninstall());
    EXPECT_EQ(heard.size(), 8u);
    for (const std::string& message : heard) {
        EXPECT_TRUE(message.starts_with("E Systemd")) << message;
        EXPECT_TRUE(message.ends_with(": Access denied")) << message;
    }
    const test::EnvironmentVariable nowhere("PATH", folder.path("nowhere").c_str());
    EXPECT_FALSE(service->start());
    EXPECT_EQ(heard.back(), "E SystemdBackgroundService::start: No such file or directory");
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
