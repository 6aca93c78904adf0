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

/// The plugins of an application. Each is a directory below the plugins directory, with the scripts
/// "autoexec.sq" and "main.sq" and a folder "resources", all of which are optional.
/// @threads main thread.
class QEL_API Plugins : public Object {
    QEL_CLASS(Plugins, Object)

public:
    /// Maps the name of a plugin's directory to the hash of its content.
    using Hashes = Map<String, uint32>;

    /// Sets the plugins directory to System::getPluginsDirectory().
    Plugins();

    /// Replaces the plugins directory; null makes it empty.
    void setPath(const char* path);
    /// Returns the plugins directory.
    const String& getPath() const { return m_path; }

    /// Calls @p callback with the name of each plugin's directory, in the order of the file system.
    /// @errors if the plugins directory exists but cannot be read, logs a warning.
    void foreachPlugin(const std::function<void(const String& name)>& callback) const;
    /// Returns the Directory::getDirectoryHash of each plugin.
    Hashes getPluginHashes() const;

    /// Starts all plugins in the order of their names. First, every plugin's directory becomes an import path
    /// and its folder "resources" a resource directory. Then each "autoexec.sq" runs to its end. Finally, if
    /// @p startMain is true, each "main.sq" becomes a script thread.
    /// @errors script errors are logged by the script machine and do not stop the start; missing files are
    /// not errors.
    void executeBootstrapScripts(bool startMain);

    /// Does the same, but only for plugins that @p allowed lists with the current hash of their content.
    /// Nothing of any other plugin is run, imported or found as a resource.
    /// @param allowed  pairs of a plugin's name and its Directory::getDirectoryHash; reading stops at the
    ///                 first entry that is not such a pair.
    void executeBootstrapScripts(const Item& allowed, bool startMain);

    /// Returns the folders and scripts that exist but could not be read at the last start, which continued
    /// without them.
    const List<String>& getUnreadable() const { return m_unreadable; }

    /// Stores @p closure under @p name for the host. @errors logs a warning for anything but a closure.
    void addListener(const char* name, const qelSq::Object& closure);
    /// Returns the closures stored under @p name, in the order in which they were added.
    const List<qelSq::Object>& getListeners(const String& name) const;

    /// Fills the script class @p cls.
    static void bindSqVM(qelSq::Object* cls);

protected:
    /// Starts only the plugins in @p plugins.
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
