#include <tests/faults/fault_case.h>

#include <qel/files/default_background_service.h>
#include <qel/files/file_lock.h>
#include <qel/files/global_mutex.h>
#include <qel/files/product_package.h>
#include <qel/files/zip_packager.h>
#include <qel/platform/crash.h>
#include <qel/plugins/plugins.h>
#include <qel/plugins/resource_locator.h>
#include <qel/process/process.h>
#include <qel/script/vm.h>
#include <qel/system/core/system.h>
#include <qel/text/fonts/bitmap_font.h>
#include <qel/text/fonts/true_type_font.h>
#include <tests/process/counting_supervisor.h>
#include <tests/text/fonts/bmf_sample.h>
#include <tests/text/fonts/ttf_sample.h>

#include <filesystem>
#include <system_error>

#include <sys/wait.h>
#include <unistd.h>

namespace qel::test {

namespace {

void preparePlugin(Folder folder) {
    folder.write("plugins/a/autoexec.sq", "::started <- \"a\"");
    folder.write("plugins/a/resources/text.txt", "text");
}
void prepareFonts(Folder folder) {
    folder.write("fonts/outlines.ttf", TtfSample().bytes());
    folder.write("fonts/bitmap.fnt", BmfSample().bytes());
}
void prepareTranslation(Folder folder) {
    folder.write("texts/tr-greeting.de.txt", "Hallo");
}

Outcome lockFile(Folder folder) {
    FileLock lock(folder.path("lock").c_str());
    const bool isLocked = lock.tryLock();
    lock.unlock();
    return {isLocked};
}

Outcome lockMutex(Folder) {
    const std::string name = "faults-" + std::to_string(getpid());
    bool isLocked = GlobalMutex::create(name.c_str());
    GlobalMutex mutex(name.c_str());
    isLocked = mutex.tryLock() && isLocked;
    mutex.unlock();
    std::filesystem::remove("/dev/shm/qel-mutex-" + name);
    return {isLocked};
}

Outcome runChild(Folder folder) {
    const SmartPointer<Process> process(new Process());
    if (!process->spawn("/bin/sh", {"sh", "-c", "read line; echo got $line; exit 3"}, folder.path().c_str(),
                        true))
        return {};
    process->writeLine("text");
    Outcome outcome;
    String line;
    while (process->tick()) {
        while (process->readLine(line)) outcome.value += line;
    }
    while (process->readLine(line)) outcome.value += line;
    outcome.worked = !process->error() && process->exitStatus() == 3;
    outcome.value = outcome.worked ? outcome.value : "";
    return outcome;
}

/// Writes a worker that sends one packet back and ends.
void prepareWorker(Folder folder) {
    const std::string worker =
        folder.write("worker", "#!/bin/sh\nwhile read -r line; do [ $line ] && echo $line && exit; done\n");
    std::filesystem::permissions(worker, std::filesystem::perms::owner_all);
}

Outcome superviseWorker(Folder folder) {
    Supervisor supervisor(folder.path("worker"));
    constexpr int kMostWorkers = 3;
    for (int i = 0; i < kMostWorkers && supervisor.received().empty(); ++i) {
        supervisor.tick(); // starts the worker, which then sends and ends
        siginfo_t ended;
        if (supervisor.started > supervisor.quit)
            waitid(P_PID, static_cast<id_t>(supervisor.workerId), &ended, WEXITED | WNOWAIT);
        supervisor.tick();
        System::sleep(2000); // the pause before a worker is started again
    }
    supervisor.terminate();
    return {!supervisor.received().empty()};
}

Outcome superviseOnAThread(Folder) {
    Supervisor supervisor("/nowhere");
    try {
        supervisor.start();
    } catch (const std::system_error& error) {
        return {false, error.what()};
    }
    supervisor.terminate();
    return {true};
}

/// Writes a script that does the work of an archiver.
void prepareArchiver(Folder folder) {
    folder.write("from/file", "text");
    const std::string tool = folder.write("7z", "#!/bin/sh\ncase $1 in\na) cat ./* >\"$2\";;\n"
                                                "x) cat \"$2\" >\"${3#-o}/file\";;\nesac\n");
    std::filesystem::permissions(tool, std::filesystem::perms::owner_all);
}

Outcome pack(Folder folder) {
    const auto packager = makeObject<ZipPackager>(folder.path("7z"));
    if (!packager->packDirectory(folder.path("from"), folder.path("archive"), false)) return {};
    while (packager->tick()) {
    }
    return {packager->success()};
}

Outcome unpack(Folder folder) {
    return {ProductPackage(folder.path("from/file"), folder.path("7z")).unpack(folder.path())};
}

Outcome writeByScript(Folder folder) {
    qelSq::VM& vm = *Object::system()->getVM();
    const std::string path = folder.path("from/file");
    const std::string script = "::result <- string.append_to_file(\"" + path + "\", \"more\")";
    vm.executeString(script.c_str(), "test");
    return {vm.getRootTable().get("result").asBool()};
}

Outcome listProcesses(Folder) {
    return {Process::exists(getpid()) && Process::startTime(getpid()) > 0};
}

Outcome startPlugins(Folder folder) {
    qelSq::VM& vm = *Object::system()->getVM();
    vm.executeString("::started <- \"\"", "test");
    const auto plugins = makeObject<Plugins>();
    plugins->setPath(folder.path("plugins").c_str());
    plugins->executeBootstrapScripts(false);
    return {plugins->getUnreadable().empty(), vm.getRootTable().get("started").asString()};
}

Outcome hashPlugins(Folder folder) {
    const auto plugins = makeObject<Plugins>();
    plugins->setPath(folder.path("plugins").c_str());
    Outcome outcome{true};
    for (const auto& [name, hash] : plugins->getPluginHashes())
        outcome.value += name + "=" + std::to_string(hash) + " ";
    return outcome;
}

/// Adds a folder of resources for the life of this object.
class ResourceFolder {
public:
    explicit ResourceFolder(const std::string& path) : m_provider(locator().addResourceDirectory(path)) {}
    ResourceFolder(const ResourceFolder&) = delete;
    ResourceFolder& operator=(const ResourceFolder&) = delete;
    ~ResourceFolder() {
        if (m_provider) locator().removeResourceProvider(m_provider);
    }

private:
    static ResourceLocator& locator() { return *Object::system()->getResourceLocator(); }

    ResourceProvider* const m_provider;
};

Outcome translate(Folder folder) {
    const ResourceFolder resources(folder.path("texts"));
    Object::system()->setLanguage("de");
    Object::clearTrCache();
    return {true, Object::tr("greeting")};
}

Outcome loadOutlines(Folder folder) {
    const ResourceFolder resources(folder.path("fonts"));
    const auto font = makeObject<TrueTypeFont>();
    const bool worked = font->loadFromResource("outlines.ttf", 20);
    Object::setSingleton("FTLibrarySingleton", nullptr); // which keeps the bytes
    return {worked, worked ? std::to_string(font->getCapitalHeight()) : ""};
}

Outcome loadBitmapFont(Folder folder) {
    const ResourceFolder resources(folder.path("fonts"));
    const auto font = makeObject<BitmapFont>();
    const bool worked = font->loadFromResources("bitmap");
    return {worked, worked ? std::to_string(font->getCapitalHeight()) : ""};
}

Outcome enableService(Folder folder) {
    Object::system()->setApplicationDirectory(folder.path("data"));
    const auto service = makeObject<DefaultBackgroundService>(false);
    service->setServiceName("service");
    return {service->enable()};
}

} // namespace

std::vector<FaultCase> systemCases() {
    return {
        {"FileLock", prepareNothing, lockFile, kSilent},
        {"GlobalMutex", prepareNothing, lockMutex, kSilent},
        {"Process, a child's life", prepareNothing, runChild, kVaries | kSilent},
        {"AsyncSupervisor, a worker's life", prepareWorker, superviseWorker, kVaries | kSilent},
        {"AsyncSupervisor::start", prepareNothing, superviseOnAThread, kVaries | kSilent},
        {"ZipPackager", prepareArchiver, pack, kVaries | kSilent | kMayTear},
        {"ProductPackage::unpack", prepareArchiver, unpack},
        {"string.append_to_file", prepareArchiver, writeByScript, kSilent | kMayTear},
        {"Process::startTime", prepareNothing, listProcesses, kSilent},
        {"Plugins::executeBootstrapScripts", preparePlugin, startPlugins, kSilent | kLoggedOnly},
        {"Plugins::getPluginHashes", preparePlugin, hashPlugins, kLoggedOnly},
        {"Object::tr", prepareTranslation, translate, kLoggedOnly},
        {"TrueTypeFont::loadFromResource", prepareFonts, loadOutlines},
        {"BitmapFont::loadFromResources", prepareFonts, loadBitmapFont},
        {"DefaultBackgroundService::enable", prepareNothing, enableService},
        {"System::registerCrashHandler", prepareNothing,
         [](Folder folder) {
             Object::system()->registerCrashHandler(folder.path().c_str());
             platform::removeCrashHandler();
             return Outcome{true};
         },
         kLoggedOnly},
    };
}

} // namespace qel::test
