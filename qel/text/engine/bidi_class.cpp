#include <qel/text/engine/bidi_class_p.h>

#include <algorithm>
#include <iterator>

namespace qel::internal {
namespace {

using enum BidiClass;

/// The class of the code points from `first` up to the next run.
struct ClassRun {
    uint32 first;
    BidiClass bidiClass;
};

#include <qel/text/engine/bidi_classes.inc>

} // namespace

BidiClass bidiClassOf(uint32 codePoint) {
    const ClassRun* after = std::ranges::upper_bound(kClassRuns, codePoint, {}, &ClassRun::first);
    const BidiClass found = std::prev(after)->bidiClass;
    return found == LRI || found == RLI || found == FSI || found == PDI ? ON : found;
}

} // namespace qel::internal
