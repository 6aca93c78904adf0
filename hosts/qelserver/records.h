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
/// one transaction of the store: the disk holds the state after some pass, whenever the server is killed.
///
/// A transaction that the disk does not take is rolled back. From then on nothing is stored but what somebody
/// waits for, and one attempt from time to time, until an attempt succeeds: a failure writes log lines, which
/// must not be the reason for the next attempt. Log lines wait meanwhile, and so do counters.
/// @threads main thread.
class Records {
public:
    /// Opens the store. @param file  empty keeps the records in memory.
    explicit Records(const std::string& file);
    /// Stores everything, and closes the store.
    ~Records();
    Records(const Records&) = delete;
    Records& operator=(const Records&) = delete;

    /// Whether the records can be used; the log tells why not.
    bool good() const { return m_isOpen; }

    /// The named settings; those of the server itself are declared.
    qel::OptionsDB& options() { return *m_options; }
    /// The counters.
    qel::SmartPointer<qel::Statistics> statistics() { return m_statistics; }
    /// The jobs.
    qel::SmartPointer<JobTable> jobs() { return m_jobs; }
    /// The lines of a channel.
    qel::LogDB& log(LogChannel channel) { return *m_logs[static_cast<size_t>(channel)].lines; }

    /// The key whose children are the counters, as of the last pass.
    qel::Item statisticsKey() const { return qel::Item(m_store.get()).add("statistics"); }
    /// Starts to gather what a pass writes.
    void beginPass();
    /// Whether the disk has not taken what was last to be stored.
    bool isFailing() const { return m_isFailing; }
    /// Whether endPass() is worth an attempt, though nobody waits for it; otherwise the pass just goes on.
    bool isDue() const;
    /// Stores what the pass wrote, with the log lines and counters that have come up.
    /// @param durable  whether it has to be on the disk before this returns, since somebody is told of it.
    /// @return false if the disk did not take it: it is rolled back then. @errors logged once until it works
    ///         again.
    bool endPass(bool durable);

private:
    /// A channel of the log, and the lines that are to be stored next.
    struct Log {
        qel::SmartPointer<qel::LogDB> lines;
        qel::Vector<qel::LogMessage> waiting;
    };

    void openLogs();
    void openIdentifiers();
    void openOptions();
    void writeLogLines();
    void noteKept();
    void noteFailure();

    qel::SmartPointer<qel::Store> m_file;  // what lasts; the same as m_store for records in memory
    qel::SmartPointer<qel::Store> m_store; // a cache in front of it
    qel::SmartPointer<qel::OptionsDB> m_options;
    qel::SmartPointer<qel::Statistics> m_statistics;
    qel::SmartPointer<qel::GUIDDomainDB> m_identifiers;
    qel::SmartPointer<JobTable> m_jobs;
    std::array<Log, 2> m_logs;
    bool m_isOpen = false;
    bool m_inPass = false;
    bool m_isFailing = false;
    qel::uint32 m_lastAttempt = 0; // reading of System::getTime()
    qel::uint32 m_pauseMs = 0;     // from that one to the next; set with each success
};

} // namespace qelserver
