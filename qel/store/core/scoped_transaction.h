// ScopedTransaction: a transaction that ends with its scope.
#pragma once

#include <qel/platform/api.h>

namespace qel {

class Item;
class Store;

/// Begins a transaction and rolls it back at the end of its scope, unless commit() or rollback() was called
/// before: an early return or an exception undoes the changes.
///
/// @code
/// ScopedTransaction transaction(key);
/// writeAll(key);
/// transaction.commit();
/// @endcode
/// @owner holds no reference: the store must outlive it.
class QEL_API ScopedTransaction {
public:
    /// Begins a transaction on @p store.
    explicit ScopedTransaction(Store* store);
    /// Begins a transaction on the store of @p key, which must have one.
    explicit ScopedTransaction(const Item& key);
    /// Rolls back the transaction if it is still open.
    ~ScopedTransaction();
    ScopedTransaction(const ScopedTransaction&) = delete;
    ScopedTransaction& operator=(const ScopedTransaction&) = delete;

    /// Commits; does nothing if the transaction is over.
    void commit();
    /// Commits and reports the result; see Store::tryCommit().
    /// @return false if the changes could not be kept, or if the transaction was already over.
    bool tryCommit();
    /// Rolls back; does nothing if the transaction is over.
    void rollback();

private:
    Store* m_store;
};

} // namespace qel
