#include <qel/store/core/store_cursor.h>

namespace qel {
namespace {

/// Iterates over any store through its operations.
class StepCursor : public StoreCursor {
public:
    explicit StepCursor(Store* store) : StoreCursor(store) {}

    void startAfter(const Item& key) override {
        m_key.setPlain(key);
        m_isAfterKey = true;
    }

private:
    bool readOn() override {
        const bool found = m_isAfterKey ? m_store->next(m_key, m_key) : m_store->first(m_key);
        m_isAfterKey |= found;
        return found;
    }

    bool m_isAfterKey = false;
};

} // namespace

StoreCursor::~StoreCursor() = default;

std::unique_ptr<StoreCursor> Store::openCursor() {
    return std::make_unique<StepCursor>(this);
}

} // namespace qel
