#include <qel/plugins/plugins.h>

#include <qel/files/directory.h>
#include <qel/foundation/base/buffer.h>
#include <qel/foundation/log/message_stream.h>
#include <qel/platform/file_system.h>
#include <qel/platform/system_error.h>
#include <qel/plugins/resource_locator.h>
#include <qel/script/object_interfaces.h>
#include <qel/script/vm.h>
#include <qel/system/core/system.h>

namespace qel {

namespace {

bool isMissing(const platform::FileError& error) {
    return error == std::errc::no_such_file_or_directory;
}

// Compiles a script of a plugin; returns null if it does not compile.
qelSq::Object compileScript(const Buffer& source, const String& plugin, const char* file) {
    const String name = plugin + "/" + file;
    return Object::system()->getVM()->newClosure(source.getConstByteSpan().asText(), name.c_str());
}

Plugins::Hashes readHashes(const Item& list) {
    Plugins::Hashes hashes;
    Item::Iterator pairs(list);
    String name;
    int32 hash;
    while (pairs.asString(name) && pairs.asInteger(hash)) hashes[name] = static_cast<uint32>(hash);
    return hashes;
}

} // namespace

Plugins::Plugins() {
    if (system()) m_path = system()->getPluginsDirectory();
}

void Plugins::setPath(const char* path) {
    m_path = path;
}

void Plugins::foreachPlugin(const std::function<void(const String& name)>& callback) const {
    visitPlugins(callback);
}

// Returns whether the plugins directory was read to its end, or does not exist.
bool Plugins::visitPlugins(const std::function<void(const String& name)>& visit) const {
    Directory directory;
    if (!directory.open(m_path)) {
        const platform::FileError error = directory.getError();
        if (isMissing(error)) return true;
        logging::warning() << "plugins directory '" << m_path << "' could not be read; "
                           << platform::errorText(error.value());
        return false;
    }
    String name;
    bool isDirectory = false;
    while (directory.read(name, isDirectory)) {
        if (isDirectory) visit(name);
    }
    return !directory.hasFailed();
}

Plugins::Hashes Plugins::getPluginHashes() const {
    Hashes hashes;
    readPluginHashes(hashes);
    return hashes;
}

// Returns whether every plugin was found.
bool Plugins::readPluginHashes(Hashes& hashes) const {
    return visitPlugins(
        [&](const String& name) { hashes[name] = Directory::getDirectoryHash(pathOf(name)); });
}

void Plugins::executeBootstrapScripts(bool startMain) {
    m_hashes.clear();
    beginStart(readPluginHashes(m_hashes));
    executeBootstrapScripts(m_hashes, startMain);
}

void Plugins::executeBootstrapScripts(const Item& allowed, bool startMain) {
    const Hashes listed = readHashes(allowed);
    Hashes unchanged;
    const bool isListRead = visitPlugins([&](const String& name) {
        const auto entry = listed.find(name);
        if (entry != listed.end() && Directory::getDirectoryHash(pathOf(name)) == entry->second) {
            unchanged.insert(*entry);
        }
    });
    beginStart(isListRead);
    executeBootstrapScripts(unchanged, startMain);
}

void Plugins::beginStart(bool isListRead) {
    m_unreadable.clear();
    if (!isListRead) m_unreadable.push_back(m_path);
}

void Plugins::executeBootstrapScripts(const Hashes& plugins, bool startMain) {
    for (const auto& [name, hash] : plugins) addPaths(name);
    for (const auto& [name, hash] : plugins) runAutoexec(name);
    if (!startMain) return;
    for (const auto& [name, hash] : plugins) this->startMain(name);
}

void Plugins::addPaths(const String& plugin) {
    String base = pathOf(plugin);
    system()->getVM()->addImportSearchPath(base);
    String resources = base + "/resources";
    platform::FileStatus status;
    const platform::FileError error = platform::readStatus(status, resources.c_str());
    if (error && !isMissing(error)) m_unreadable.push_back(resources);
    if (!error && status.kind == platform::FileKind::Directory)
        system()->getResourceLocator()->addResourceDirectory(resources);
}

// Returns false if the script does not exist or cannot be read.
bool Plugins::loadScript(const String& plugin, const char* file, Buffer& source) {
    const String path = pathOf(plugin) + "/" + file;
    platform::FileStatus status;
    const platform::FileError error = platform::readStatus(status, path.c_str(), platform::Links::Keep);
    if (isMissing(error)) return false;
    if (!error && source.loadFromFile(path.c_str(), true, false)) return true;
    m_unreadable.push_back(path);
    return false;
}

void Plugins::runAutoexec(const String& plugin) {
    Buffer source;
    if (!loadScript(plugin, "autoexec.sq", source)) return;
    qelSq::Object closure = compileScript(source, plugin, "autoexec.sq");
    // A null closure fails, so that it counts as a failed script.
    closure.asClosure().getFunctorOnRoot().execute();
}

void Plugins::startMain(const String& plugin) {
    Buffer source;
    if (!loadScript(plugin, "main.sq", source)) return;
    logging::info() << "[" << plugin << "] starting main";
    system()->getVM()->createThread(compileScript(source, plugin, "main.sq"));
}

void Plugins::addListener(const char* name, const qelSq::Object& closure) {
    if (!closure.isClosure()) {
        logging::warning() << "trying to add a listener of non-closure type";
        return;
    }
    m_listeners[name].push_back(closure);
}

const List<qelSq::Object>& Plugins::getListeners(const String& name) const {
    static const List<qelSq::Object> none;
    auto found = m_listeners.find(name);
    return found != m_listeners.end() ? found->second : none;
}

} // namespace qel
