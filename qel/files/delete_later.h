// Paths that could not be deleted, remembered in a store.
#pragma once

#include <qel/files/deferred_deletion.h>
#include <qel/foundation/base/containers.h>
#include <qel/foundation/base/string.h>
#include <qel/store/core/item.h>

namespace qel {

/// Keeps the list of paths to be deleted in a store and tries to delete them again, also after a restart. A
/// host registers its instance as the singleton "deleteLater", where File and Directory find it.
/// docs/formats.md describes the format of the records.
/// || Only absolute paths other than the root folder are ever deleted. If a path is a link, the link is
/// deleted and its target is kept.
/// @threads main.
class QEL_API DeleteLater : public DeferredDeletion {
    QEL_CLASS(DeleteLater, DeferredDeletion)

public:
    /// Sets the key below which the list is stored. Without a key that has a store, nothing is remembered or
    /// deleted. The filesystem blacklist is not filled from the list.
    /// @owner the store must outlive this object or last until the next call.
    void setDBPath(const Item& path) { m_dbPath = path; }
    /// Adds a path to the list, as an absolute path that starts at the current working folder. A path that is
    /// already on the list is not changed.
    /// @param origin  who requested the deletion, a tag such as "[cache][clean]".
    void addPath(const char* path, const char* origin) override;
    /// Tries to delete every path on the list, and removes from the list those that are deleted, those that
    /// no longer exist, and broken entries; each is logged. The host calls it from time to time.
    void maintainDeletes();
    /// Copies, for each origin, the number of paths that had been tried 4 times or more at the last
    /// maintenance.
    void getReport(Map<String, int>& report) const { report = m_report; }
    /// Returns the number of paths that had been tried 4 times or more at the last maintenance.
    int getProblematicCount() const { return m_problematicCount; }

private:
    void maintain(const Item& entry);
    void retry(const Item& entry, const String& path, const String& origin, int64 tries);

    Item m_dbPath;
    int m_problematicCount = 0;
    Map<String, int> m_report;
};

} // namespace qel
