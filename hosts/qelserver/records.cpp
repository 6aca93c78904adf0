#include "records.h"

#include <qel/foundation/base/string_id.h>
#include <qel/foundation/log/log_backend.h>
#include <qel/foundation/log/message_stream.h>
#include <qel/store/core/cache_store.h>
#include <qel/store/core/memory_store.h>
#include <qel/store/records/guid_domain.h>
#include <qel/store/sqlite/sqlite_store.h>
#include <qel/system/core/system.h>

#include <algorithm>
#include <utility>

namespace qelserver {

namespace {

constexpr std::array<const char*, 2> kLogKeys = {"log.customer", "log.technical"};
constexpr size_t kLogLinesPerPass = 512;
constexpr size_t kMostWaitingLines = 65'536; // per channel, as kMostWaitingBytes
constexpr size_t kMostWaitingBytes = size_t{16} << 20;

constexpr qel::uint32 kFirstPauseMs = 1000; // after a failure; twice as long after each further one
constexpr qel::uint32 kLongestPauseMs = 64'000;

// The identifiers of a server begin with 64 random bits, which hardly any two servers share.
constexpr qel::uint32 kServerBits = 64;
constexpr qel::uint32 kDomainBits = 32;
constexpr qel::uint32 kPersonalBits = 32;

} // namespace

Records::Records(const std::string& file) {
    if (file.empty()) {
        m_file.reset(new qel::MemoryStore());
        m_store = m_file;
    } else {
        m_file.reset(new qel::SqliteStore(file));
        m_store.reset(new qel::CacheStore(m_file.get()));
    }
    if (!m_store->good()) return;
    qel::LogBackend::limitMessages(kMostWaitingLines, kMostWaitingBytes);
    const qel::Item root(m_store.get());
    beginPass();
    m_statistics.reset(new qel::Statistics(statisticsKey()));
    openLogs();
    openOptions();
    openIdentifiers();
    m_jobs.reset(new JobTable(qel::Item(root).add("jobs")));
    m_isOpen = endPass(true);
}

Records::~Records() {
    close();
}

bool Records::close() {
    if (!m_identifiers) return m_isStoredAtClose; // the store could not be opened, or is closed already
    qel::Object::system()->setGUIDDomainDB(nullptr);
    if (!m_inPass) beginPass();
    m_identifiers->flush();
    m_isOpen = false;
    m_isStoredAtClose = endPass(true);
    if (!m_isStoredAtClose)
        qel::logging::error() << "the last changes could not be stored: " << m_store->lastError();
    m_identifiers = nullptr;
    m_store->close();
    return m_isStoredAtClose;
}

void Records::openLogs() {
    for (size_t i = 0; i < m_logs.size(); ++i)
        m_logs[i].lines.reset(new qel::LogDB(qel::Item(m_store.get()).add(kLogKeys[i])));
}

void Records::openOptions() {
    m_options.reset(new qel::OptionsDB(qel::Item(m_store.get()).add("options")));
    const auto add = [this](const char* name, const char* value, const char* label, const char* description) {
        m_options->addOption(name, value, "Server", label, description, qel::OptionsDB::kLogChanges);
    };
    add("server:log_lines", "100000", "Lines of the log", "Older lines are removed; 0 keeps all lines.");
    add("server:job_attempts", "3", "Attempts at a job",
        "A job fails after losing its worker this many times.");
}

void Records::openIdentifiers() {
    qel::System& system = *qel::Object::system();
    m_identifiers.reset(new qel::GUIDDomainDB(qel::Item(m_store.get()).add("identifiers")));
    if (!m_identifiers->hasDomain()) {
        const qel::GUIDDomain server = qel::GUIDDomain().selectSubDomain(kServerBits, system.randomULong());
        m_identifiers->initializeDomain(server, kDomainBits, kPersonalBits);
    }
    system.setGUIDDomainDB(m_identifiers.get());
}

void Records::beginPass() {
    if (m_inPass) return;
    m_store->begin();
    m_inPass = true;
}

bool Records::isDue() const {
    return !m_isFailing || qel::Object::system()->getTime() - m_lastAttempt >= m_pauseMs;
}

bool Records::endPass(bool durable) {
    writeLogLines();
    m_statistics->flushToDatabase();
    m_inPass = false;
    m_store->clearLastError();
    const bool isStored = m_store->tryCommit() && (!durable || m_store->tryFlush());
    isStored ? noteStored() : noteFailure();
    return isStored;
}

void Records::writeLogLines() {
    for (unsigned channel = 0; channel < m_logs.size(); ++channel) {
        auto& [log, waiting] = m_logs[channel];
        while (waiting.size() < kLogLinesPerPass) {
            auto line = qel::LogBackend::takeMessage(channel);
            if (!line) break;
            waiting.push_back(std::move(*line));
        }
        log->setMaxNumLines(m_options->getValueAsLong("server:log_lines"));
        for (qel::LogMessage& line : waiting) log->addLine(&line);
    }
}

void Records::noteStored() {
    for (Log& log : m_logs) log.waiting.clear();
    m_pauseMs = kFirstPauseMs;
    if (std::exchange(m_isFailing, false)) qel::logging::info() << "the records are stored again";
}

/// The next attempt writes again what was rolled back; the logs read their line numbers again.
void Records::noteFailure() {
    const bool wasDue = isDue();
    if (wasDue) m_lastAttempt = qel::Object::system()->getTime();
    if (wasDue && m_isFailing) m_pauseMs = std::min(2 * m_pauseMs, kLongestPauseMs);
    if (!std::exchange(m_isFailing, true))
        qel::logging::error() << "the records can't be stored for now: " << m_store->lastError();
    m_statistics->increase("records.failures", 1);
    m_statistics->setAllDirty();
    openLogs();
}

} // namespace qelserver
