// Test seam: how stylesheets are searched.
#pragma once

#include <qel/platform/api.h>

namespace qel::seams {

/// The ways to search a stylesheet, all with the same results.
enum class StyleSearch : int {
    Cached = 0,  ///< answers are kept; a new question is searched through the index
    Indexed = 1, ///< each question is searched through the index
    Plain = 2,   ///< each question is compared with each rule
};

/// Sets how all stylesheets are searched from now on. @threads main thread.
QEL_API void setStyleSearch(StyleSearch search);

} // namespace qel::seams
