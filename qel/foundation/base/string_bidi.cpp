#include <qel/foundation/base/bidi_analysis_p.h>
#include <qel/foundation/base/string.h>

#include <algorithm>

namespace qel {
namespace {

constexpr int kHoldsRightToLeft = 2;
constexpr int kBeginsRightToLeft = 1;
constexpr uint32 kFirstRightToLeft = 0x590; // lower code points are not right-to-left and do not make text so

} // namespace

int String::utf8_rtl_flags() const {
    const Vector<uint32> text = utf8_to_unicode();
    const auto canTurn = [](uint32 codePoint) { return codePoint >= kFirstRightToLeft; };
    if (std::none_of(text.begin(), text.end(), canTurn)) return 0;
    const internal::TextDirections found = internal::findDirections(text);
    return (found.holdsRightToLeft ? kHoldsRightToLeft : 0) |
           (found.beginsRightToLeft ? kBeginsRightToLeft : 0);
}

} // namespace qel
