#include "records.h"

#include <qel/foundation/base/string_id.h>
#include <qel/foundation/log/log_backend.h>
#include <qel/foundation/log/message_stream.h>
#include <qel/store/core/cache_store.h>
#include <qel/store/core/memory_store.h>
#include <qel/store/records/guid_domain.h>
#include <qel/store/sqlite/sqlite_store.h>
#include <qel/system/core/system.h>

namespace qelserver {

namespace {

constexpr std::array<const char*, 2> kLogKeys = {"log.customer", "log.technical"};

// A server's identifiers begin with 64 bits that no other server is likely to have.
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
    if (!good()) return;
    const qel::Item root(m_store.get());
    beginPass();
    m_statistics.reset(new qel::Statistics(statisticsKey()));
    for (size_t i = 0; i < m_logs.size(); ++i)
        m_logs[i].reset(new qel::LogDB(qel::Item(root).add(kLogKeys[i])));
    openOptions();
    openIdentifiers();
    m_jobs.reset(new JobTable(qel::Item(root).add("jobs")));
    endPass(true);
}

Records::~Records() {
    if (!m_identifiers) return; // the store was no good from the start
    qel::Object::system()->setGUIDDomainDB(nullptr);
    if (!m_inPass) beginPass();
    m_identifiers->flush();
    endPass(true);
    m_store->close();
}

void Records::openOptions() {
    m_options.reset(new qel::OptionsDB(qel::Item(m_store.get()).add("options")));
    const auto add = [this](const char* name, const char* value, const char* label, const char* description) {
        m_options->addOption(name, value, "Server", label, description, qel::OptionsDB::kLogChanges);
    };
    add("server:log_lines", "100000", "Lines of the log", "Older lines are dropped; 0 keeps all.");
    add("server:job_attempts", "3", "Attempts at a job", "A job that loses its worker as often has failed.");
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

bool Records::isKept(const qel::GUID& job) const {
    qel::Item key = m_jobs->getRoot();
    return m_file->get(key.add(job)) != nullptr;
}

void Records::beginPass() {
    m_store->begin();
    m_inPass = true;
}

void Records::endPass(bool durable) {
    takeLogLines();
    m_statistics->flushToDatabase();
    m_store->commit();
    m_inPass = false;
    if (durable) m_store->flush();
}

void Records::takeLogLines() {
    for (unsigned channel = 0; channel < m_logs.size(); ++channel) {
        m_logs[channel]->setMaxNumLines(m_options->getValueAsLong("server:log_lines"));
        qel::LogBackend::flushTo(channel, m_logs[channel].get());
    }
}

} // namespace qelserver
