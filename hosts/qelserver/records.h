// Everything that the server stores.
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

/// Options, log, statistics, identifiers and jobs in one store. What a pass of the main loop writes is one
/// transaction of the store, so that the disk holds the state after some pass whenever the server is killed.
///
/// A transaction that can't be stored is rolled back. Until a later one succeeds, the server tries again only
/// when a call depends on it, and otherwise at growing intervals: each failure writes log lines, which must
/// not cause the next attempt. Log lines and counters are kept in memory meanwhile.
/// @threads main thread.
class Records {
public:
    /// Opens the store. @param file  the path of the store; if it is empty, the records are kept in memory.
    explicit Records(const std::string& file);
    /// Closes the records if close() was not called.
    ~Records();
    Records(const Records&) = delete;
    Records& operator=(const Records&) = delete;

    /// Returns true if the records can be used. @errors if they can't, the log says why.
    bool good() const { return m_isOpen; }

    /// Returns the named settings. Those of the server are declared already.
    qel::OptionsDB& options() { return *m_options; }
    /// Returns the counters.
    qel::SmartPointer<qel::Statistics> statistics() { return m_statistics; }
    /// Returns the table of jobs.
    qel::SmartPointer<JobTable> jobs() { return m_jobs; }
    /// Returns the stored lines of a channel.
    qel::LogDB& log(LogChannel channel) { return *m_logs[static_cast<size_t>(channel)].lines; }

    /// Returns the key whose children are the counters, as of the last pass.
    qel::Item statisticsKey() const { return qel::Item(m_store.get()).add("statistics"); }
    /// Begins the transaction of a pass.
    void beginPass();
    /// Returns true if the last attempt to store something failed.
    bool isFailing() const { return m_isFailing; }
    /// Returns true if endPass() should be called although no call depends on it. If it returns false, the
    /// transaction continues in the next pass.
    bool isDue() const;
    /// Commits what the pass wrote, together with new log lines and counters.
    /// @param durable  true to wait until everything is on the disk.
    /// @return false if it could not be stored and was rolled back. @errors logged once until an attempt
    ///         succeeds.
    bool endPass(bool durable);
    /// Stores everything and closes the store; further calls return the same result.
    /// @return true if everything is on the disk. @errors logged.
    bool close();

private:
    /// A channel of the log, and the lines that are not stored yet.
    struct Log {
        qel::SmartPointer<qel::LogDB> lines;
        qel::Vector<qel::LogMessage> waiting;
    };

    void openLogs();
    void openIdentifiers();
    void openOptions();
    void writeLogLines();
    void noteStored();
    void noteFailure();

    qel::SmartPointer<qel::Store> m_file;  // the store on the disk; m_store itself for records in memory
    qel::SmartPointer<qel::Store> m_store; // a cache in front of m_file
    qel::SmartPointer<qel::OptionsDB> m_options;
    qel::SmartPointer<qel::Statistics> m_statistics;
    qel::SmartPointer<qel::GUIDDomainDB> m_identifiers;
    qel::SmartPointer<JobTable> m_jobs;
    std::array<Log, 2> m_logs;
    bool m_isOpen = false;
    bool m_inPass = false;
    bool m_isFailing = false;
    bool m_isStoredAtClose = true;
    qel::uint32 m_lastAttempt = 0; // value of System::getTime()
    qel::uint32 m_pauseMs = 0;     // from the last attempt to the next; reset by each success
};

} // namespace qelserver
