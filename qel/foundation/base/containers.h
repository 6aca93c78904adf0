// Names under which the standard containers cross the library's interfaces.
#pragma once

#include <list>
#include <map>
#include <set>
#include <utility>
#include <vector>

namespace qel {

/// Contiguous sequence; behaves as std::vector.
template <typename T>
using Vector = std::vector<T>;

/// Doubly linked sequence; behaves as std::list.
template <typename T>
using List = std::list<T>;

/// Ordered set of unique values; behaves as std::set.
template <typename T>
using Set = std::set<T>;

/// Ordered map with unique keys; behaves as std::map.
template <typename K, typename V>
using Map = std::map<K, V>;

/// Two values side by side; behaves as std::pair.
template <typename A, typename B>
using Pair = std::pair<A, B>;

} // namespace qel
