#include <qel/foundation/base/line_end.h>
#include <qel/foundation/base/types.h>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "qel/foundation/base/line_end_simd.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>
#include <qel/foundation/base/simd_dispatch_p.h>

HWY_BEFORE_NAMESPACE();
namespace qel::internal::HWY_NAMESPACE {
namespace {

namespace hn = hwy::HWY_NAMESPACE;

using Bytes = hn::ScalableTag<uint8>;

const char* findLineEndKernel(const char* begin, const char* end) {
    const Bytes d;
    const auto lineFeed = hn::Set(d, '\n');
    const auto carriageReturn = hn::Set(d, '\r');
    const std::ptrdiff_t lanes = static_cast<std::ptrdiff_t>(hn::Lanes(d));
    for (; end - begin >= lanes; begin += lanes) {
        const auto bytes = hn::LoadU(d, reinterpret_cast<const uint8*>(begin));
        const auto isEnd = hn::Or(hn::Eq(bytes, lineFeed), hn::Eq(bytes, carriageReturn));
        if (const intptr_t at = hn::FindFirstTrue(d, isEnd); at >= 0) return begin + at;
    }
    while (begin != end && *begin != '\n' && *begin != '\r') ++begin;
    return begin;
}

} // namespace
} // namespace qel::internal::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace qel::internal {

QEL_SIMD_TABLE(findLineEndKernel);

const char* findLineEnd(const char* begin, const char* end) {
    return g_findLineEndKernel(begin, end);
}

} // namespace qel::internal
#endif
