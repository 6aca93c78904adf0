// WorkLimit: notices files that keep HarfBuzz busy.
#pragma once

#include <qel/foundation/base/types.h>
#include <qel/system/core/clock.h>

#include <cstddef>

namespace qel::internal {

/// Adds up the processor time that shaping takes on its thread, and compares it with what the length of the
/// texts explains. HarfBuzz limits the glyphs and the steps of one call, but a file of 100 KB can make it
/// compare millions of rules for each character.
class WorkLimit {
public:
    /// Starts to count.
    void begin() { m_begin = Clock::threadNanoseconds(); }
    /// Adds the time since begin(). @return false if the file has taken too much time.
    bool end(std::size_t characterCount);

private:
    int64 m_begin = 0;
    double m_seconds = 0; ///< taken, less what the characters explain
};

} // namespace qel::internal
