#include <qel/store/core/scoped_transaction.h>

#include <qel/store/core/item.h>
#include <qel/store/core/store.h>

#include <utility>

namespace qel {

ScopedTransaction::ScopedTransaction(Store* store) : m_store(store) {
    m_store->begin();
}

ScopedTransaction::ScopedTransaction(const Item& key) : ScopedTransaction(key.getStore()) {}

ScopedTransaction::~ScopedTransaction() {
    rollback();
}

void ScopedTransaction::commit() {
    if (Store* const store = std::exchange(m_store, nullptr)) store->commit();
}

bool ScopedTransaction::tryCommit() {
    Store* const store = std::exchange(m_store, nullptr);
    return store && store->tryCommit();
}

void ScopedTransaction::rollback() {
    if (Store* const store = std::exchange(m_store, nullptr)) store->rollback();
}

} // namespace qel
