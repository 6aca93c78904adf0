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
    /// Creates the table below @p root if it does not exist.
    explicit JobTable(const qel::Item& root);

    /// Writes the row of a job, which is added if it does not exist.
    void put(const Job& job);
    /// Removes the row of a job, if there is one.
    void remove(const qel::GUID& id);
    /// Returns all jobs, in no particular order. @errors a row that can't be read is logged and left out.
    qel::Vector<Job> load();

    /// Returns the row of a job as a packet. @param error  receives the reason for null.
    qel::SmartPointer<qel::Packet> createPacketForEntry(const qel::GUID& id, const qel::Item& key,
                                                        qel::String& error) override;
};

} // namespace qelserver
