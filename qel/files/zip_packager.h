// Packs a folder with the 7z program.
#pragma once

#include <qel/foundation/base/object.h>
#include <qel/foundation/base/smart_cstr.h>
#include <qel/foundation/base/smart_pointer.h>
#include <qel/foundation/base/string.h>
#include <qel/platform/api.h>

namespace qel {

class Process;

/// Packs a folder in a process of its own. The program is started directly, without a shell: no name is ever
/// read as a command, an option or a pattern.
/// @threads an object is used by one thread at a time.
class QEL_API ZipPackager : public Object {
    QEL_CLASS(ZipPackager, Object)

public:
    /// @param toolPath  the program; a name without a slash is looked for in $PATH.
    explicit ZipPackager(SmartCStr toolPath = "7z");
    ~ZipPackager() override;

    /// Starts to pack what is in the folder @p from into the archive @p to, whose extension tells its format.
    /// A process still at work is ended. @param recurse  also matches names in folders below.
    /// @return false when @p from is no folder or, logged, the program can't be started.
    bool packDirectory(SmartCStr from, SmartCStr to, bool recurse);
    /// Takes what the program has written; its error lines are logged. Call it from time to time.
    /// @return whether the program is still at work.
    bool tick();
    /// Whether the last run has ended well.
    bool success() const;

private:
    void takeOutput();

    String m_toolPath;
    SmartPointer<Process> m_process;
    bool m_atWork = false;
};

} // namespace qel
