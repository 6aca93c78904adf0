// Plugins: finds the plugin directories and starts their scripts.
#pragma once

#include <qel/foundation/base/containers.h>
#include <qel/foundation/base/object.h>
#include <qel/foundation/base/string.h>
#include <qel/script/object.h>
#include <qel/store/core/item.h>

#include <functional>

namespace qel {

class Buffer;

/// The plugins of an application: one directory each below the plugins directory, with scripts "autoexec.sq"
/// and "main.sq" and a folder "resources", all of them optional.
/// @threads main thread.
class QEL_API Plugins : public Object {
    QEL_CLASS(Plugins, Object)

public:
    /// Name of a plugin's directory to the hash of its content.
    using Hashes = Map<String, uint32>;

    /// Takes the plugins directory from System::getPluginsDirectory().
    Plugins();

    /// Replaces the plugins directory; null makes it empty.
    void setPath(const char* path);
    /// The plugins directory.
    const String& getPath() const { return m_path; }

    /// Calls @p callback with the name of each plugin's directory, in the file system's order.
    /// @errors a plugins directory that exists but cannot be read is logged as a warning.
    void foreachPlugin(const std::function<void(const String& name)>& callback) const;
    /// The Directory::getDirectoryHash of all plugins.
    Hashes getPluginHashes() const;

    /// Starts all plugins, in the order of their names: first every plugin's directory becomes an import path
    /// and its folder "resources" a resource directory; then each "autoexec.sq" runs to its end; then, if
    /// @p startMain, each "main.sq" becomes a script thread.
    /// @errors of scripts are logged by the script machine and stop nothing; missing files are normal.
    void executeBootstrapScripts(bool startMain);

    /// The same, of the plugins that @p allowed lists and whose content has the hash listed there; nothing of
    /// any other is run, imported or found as a resource.
    /// @param allowed  pairs of a plugin's name and its Directory::getDirectoryHash, up to the first that is
    /// none.
    void executeBootstrapScripts(const Item& allowed, bool startMain);

    /// The folders and scripts that exist but could not be read in the last start; it went on without them.
    const List<String>& getUnreadable() const { return m_unreadable; }

    /// Keeps @p closure under @p name for the host. @errors a warning for anything but a closure.
    void addListener(const char* name, const qelSq::Object& closure);
    /// The closures kept under @p name, in the order of adding.
    const List<qelSq::Object>& getListeners(const String& name) const;

    /// Fills the script class @p cls.
    static void bindSqVM(qelSq::Object* cls);

protected:
    /// Starts the plugins of @p plugins alone.
    void executeBootstrapScripts(const Hashes& plugins, bool startMain);

private:
    String pathOf(const String& plugin) const { return m_path + "/" + plugin; }
    bool visitPlugins(const std::function<void(const String& name)>& visit) const;
    bool readPluginHashes(Hashes& hashes) const;
    void beginStart(bool isListRead);
    void addPaths(const String& plugin);
    bool loadScript(const String& plugin, const char* file, Buffer& source);
    void runAutoexec(const String& plugin);
    void startMain(const String& plugin);

    Map<String, List<qelSq::Object>> m_listeners;
    String m_path;
    Hashes m_hashes;
    List<String> m_unreadable;
};

} // namespace qel
