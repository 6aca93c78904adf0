// JobTable: the jobs in the store.
#pragma once

#include "job.h"

#include <qel/store/records/table.h>

namespace qelserver {

/// Stores each job as a row, so that an acknowledged job survives a restart of the server.
/// @threads those of the store.
class JobTable : public qel::Table {
    QEL_CLASS(JobTable, qel::Table)

public:
    /// Creates the table below @p root if it does not exist.
    explicit JobTable(const qel::Item& root);

    /// Writes the row of a job, and creates it if it does not exist.
    void put(const Job& job);
    /// Removes the row of a job if it exists.
    void remove(const qel::GUID& id);
    /// Returns all jobs, in no particular order. @errors rows that can't be read are logged and skipped.
    qel::Vector<Job> load();

    /// Returns the row of a job as a packet, or null. @param error  receives the reason if it returns null.
    qel::SmartPointer<qel::Packet> createPacketForEntry(const qel::GUID& id, const qel::Item& key,
                                                        qel::String& error) override;
};

} // namespace qelserver
