// Paths that could not be deleted, remembered in a store.
#pragma once

#include <qel/files/deferred_deletion.h>
#include <qel/foundation/base/containers.h>
#include <qel/foundation/base/string.h>
#include <qel/store/core/item.h>

namespace qel {

/// Keeps the list of paths that must go in a store, and tries again to delete them, also after a restart. A
/// host registers its instance as the singleton "deleteLater", where File and Directory find it.
/// docs/formats.md tells the form of the records.
///
/// Only absolute paths other than that of the root folder are ever deleted; a link goes, what it stands for
/// stays.
/// @threads main.
class QEL_API DeleteLater : public DeferredDeletion {
    QEL_CLASS(DeleteLater, DeferredDeletion)

public:
    /// Sets the key below which the list lives. Without one that has a store, nothing is remembered or
    /// deleted. The filesystem blacklist is not filled from the list.
    /// @owner the store must outlive this object, or the next call.
    void setDBPath(const Item& path) { m_dbPath = path; }
    /// Puts a path on the list, made absolute by the working folder of now. One that is on it stays as it is.
    /// @param origin  who wanted the deletion, a tag such as "[cache][clean]".
    void addPath(const char* path, const char* origin) override;
    /// Tries to delete every path on the list, and takes off it those that are gone, those that were gone
    /// before, and broken entries; each is logged. The host calls it from time to time.
    void maintainDeletes();
    /// Copies how many paths of each origin had been tried 4 times or more at the last maintenance.
    void getReport(Map<String, int>& report) const { report = m_report; }
    /// The number of paths that had been tried 4 times or more at the last maintenance.
    int getProblematicCount() const { return m_problematicCount; }

private:
    void maintain(const Item& entry);
    void retry(const Item& entry, const String& path, const String& origin, int64 tries);

    Item m_dbPath;
    int m_problematicCount = 0;
    Map<String, int> m_report;
};

} // namespace qel
