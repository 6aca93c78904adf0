// Everything that the server keeps.
#pragma once

#include "job_table.h"

#include <qel/foundation/base/smart_pointer.h>
#include <qel/store/core/log_db.h>
#include <qel/store/core/statistics.h>
#include <qel/store/core/store.h>
#include <qel/store/records/guid_domain_db.h>
#include <qel/store/records/options_db.h>

#include <array>
#include <string>

namespace qelserver {

/// The channels of the log, as LogBackend numbers them.
enum class LogChannel : unsigned { Customer = 0, Technical = 1 };

/// Options, log, statistics, identifiers and jobs in one store. What happens in a pass of the main loop is
/// one transaction of the store: the disk holds the state behind some pass, whenever the server is killed.
/// @threads main thread.
class Records {
public:
    /// Opens the store. @param file  empty keeps the records in memory.
    explicit Records(const std::string& file);
    /// Writes everything, and closes the store.
    ~Records();
    Records(const Records&) = delete;
    Records& operator=(const Records&) = delete;

    /// Whether the records can be used; the log tells why not.
    bool good() const { return m_store->good(); }

    /// The named settings; those of the server itself are declared.
    qel::OptionsDB& options() { return *m_options; }
    /// The counters.
    qel::SmartPointer<qel::Statistics> statistics() { return m_statistics; }
    /// The jobs.
    qel::SmartPointer<JobTable> jobs() { return m_jobs; }
    /// The lines of a channel.
    qel::LogDB& log(LogChannel channel) { return *m_logs[static_cast<size_t>(channel)]; }

    /// The key whose children are the counters, as of the last pass.
    qel::Item statisticsKey() const { return qel::Item(m_store.get()).add("statistics"); }
    /// Whether a job's row is really kept: a disk that fails takes back what it could not write.
    bool isKept(const qel::GUID& job) const;

    /// Starts to gather what a pass writes.
    void beginPass();
    /// Keeps what the pass wrote, with the log lines and counters that came up. @param durable  whether it
    /// has to be on the disk before this returns, since somebody is told of it.
    void endPass(bool durable);

private:
    void openIdentifiers();
    void openOptions();
    void takeLogLines();

    qel::SmartPointer<qel::Store> m_file;  // what lasts; the same as m_store for records in memory
    qel::SmartPointer<qel::Store> m_store; // a cache in front of it
    qel::SmartPointer<qel::OptionsDB> m_options;
    qel::SmartPointer<qel::Statistics> m_statistics;
    qel::SmartPointer<qel::GUIDDomainDB> m_identifiers;
    qel::SmartPointer<JobTable> m_jobs;
    std::array<qel::SmartPointer<qel::LogDB>, 2> m_logs;
    bool m_inPass = false;
};

} // namespace qelserver
