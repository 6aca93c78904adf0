#include <qel/store/core/store.h>

namespace qel {

int64 Store::g_compareCount = 0;

Store::Store() = default;
Store::Store(const Store&) = default;
Store& Store::operator=(const Store&) = default;
Store::~Store() = default;

} // namespace qel
