#include <qel/plugins/plugins.h>

#include <qel/files/directory.h>
#include <qel/foundation/base/buffer.h>
#include <qel/foundation/log/message_stream.h>
#include <qel/plugins/resource_locator.h>
#include <qel/script/object_interfaces.h>
#include <qel/script/vm.h>
#include <qel/system/core/system.h>

namespace qel {

namespace {

// Reads the script @p file of a plugin. @return false if it does not exist or can't be read.
bool loadScript(const String& directory, const char* file, Buffer& source) {
    const String path = directory + "/" + file;
    return File::existsFile(path) && source.loadFromFile(path.c_str(), true, false);
}

// Compiles a script of a plugin; null if it does not compile.
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
    Directory directory;
    if (!directory.open(m_path)) return;
    String name;
    bool isDirectory = false;
    while (directory.read(name, isDirectory)) {
        if (isDirectory) callback(name);
    }
}

Plugins::Hashes Plugins::getPluginHashes() const {
    Hashes hashes;
    foreachPlugin([&](const String& name) { hashes[name] = Directory::getDirectoryHash(pathOf(name)); });
    return hashes;
}

void Plugins::executeBootstrapScripts(bool startMain) {
    m_hashes = getPluginHashes();
    executeBootstrapScripts(m_hashes, startMain);
}

void Plugins::executeBootstrapScripts(const Item& allowed, bool startMain) {
    const Hashes listed = readHashes(allowed);
    Hashes unchanged;
    foreachPlugin([&](const String& name) {
        const auto entry = listed.find(name);
        if (entry != listed.end() && Directory::getDirectoryHash(pathOf(name)) == entry->second) {
            unchanged.insert(*entry);
        }
    });
    executeBootstrapScripts(unchanged, startMain);
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
    bool isDirectory = false;
    if (File::checkIfDirectory(resources, isDirectory) && isDirectory) {
        system()->getResourceLocator()->addResourceDirectory(resources);
    }
}

void Plugins::runAutoexec(const String& plugin) {
    Buffer source;
    if (!loadScript(pathOf(plugin), "autoexec.sq", source)) return;
    qelSq::Object closure = compileScript(source, plugin, "autoexec.sq");
    closure.asClosure().getFunctorOnRoot().execute(); // a null closure fails and so counts as a failed script
}

void Plugins::startMain(const String& plugin) {
    Buffer source;
    if (!loadScript(pathOf(plugin), "main.sq", source)) return;
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
