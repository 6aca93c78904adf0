// The jobs in the store.
#pragma once

#include "job.h"

#include <qel/store/records/table.h>

namespace qelserver {

/// A row for each job, so that a job that was acknowledged outlives the server.
/// @threads that of the store.
class JobTable : public qel::Table {
    QEL_CLASS(JobTable, qel::Table)

public:
    /// Makes the table below @p root if it is not there.
    explicit JobTable(const qel::Item& root);

    /// Adds a row. @param job  gets its id.
    void add(Job& job);
    /// Stores what changed of a job that has a row.
    void update(const Job& job);
    /// Removes the row of a job.
    void remove(const qel::GUID& id);
    /// All jobs, in no order that means anything. @errors a row that can't be read is logged and left out.
    qel::Vector<Job> load();

    /// The row of a job as a packet. @param error  gets the reason for null.
    qel::SmartPointer<qel::Packet> createPacketForEntry(const qel::GUID& id, const qel::Item& key,
                                                        qel::String& error) override;
};

} // namespace qelserver
