// Packs a folder with the 7z program.
#pragma once

#include <qel/foundation/base/object.h>
#include <qel/foundation/base/smart_cstr.h>
#include <qel/foundation/base/smart_pointer.h>
#include <qel/foundation/base/string.h>
#include <qel/platform/api.h>

namespace qel {

class Process;

/// Packs a folder in a separate process. The program is started directly, without a shell: no name is ever
/// interpreted as a command, an option or a pattern.
/// @threads an object is used by one thread at a time.
class QEL_API ZipPackager : public Object {
    QEL_CLASS(ZipPackager, Object)

public:
    /// @param toolPath  the program; a name without a slash is searched for in $PATH.
    explicit ZipPackager(SmartCStr toolPath = "7z");
    ~ZipPackager() override;

    /// Starts to pack the content of the folder @p from into the archive @p to, whose extension determines
    /// its format. A process that is still running is killed. @param recurse  true to match names in
    /// subfolders too.
    /// @return false if @p from is not a folder or, logged, if the program cannot be started.
    bool packDirectory(SmartCStr from, SmartCStr to, bool recurse);
    /// Reads what the program has written and logs its error lines. Call it from time to time.
    /// @return true if the program is still running.
    bool tick();
    /// Returns true if the last run was successful.
    bool success() const;

private:
    void takeOutput();

    String m_toolPath;
    SmartPointer<Process> m_process;
    bool m_atWork = false;
};

} // namespace qel
