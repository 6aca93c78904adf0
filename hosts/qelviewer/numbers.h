// Numbers as texts of the viewer's language.
#pragma once

#include <string>

namespace qelviewer {

/// Returns @p value with @p digits after the sign that the language uses in decimals, such as "12.3"; a dash
/// if it is not finite. @threads main thread.
std::string formatNumber(double value, int digits);

/// Returns @p value with at most @p digits after the sign, without zeros at the end. Numbers below 0.1 and
/// from 1e9 on have three digits, such as "0.000812" or "4.5e+12".
std::string formatShort(double value, int digits);

} // namespace qelviewer
