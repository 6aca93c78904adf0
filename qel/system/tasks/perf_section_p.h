// PerfSection: one named section of time in the monitor's tree.
#pragma once

#include <qel/foundation/base/object.h>
#include <qel/foundation/base/smart_pointer.h>
#include <qel/foundation/base/string.h>
#include <qel/foundation/base/types.h>

#include <map>
#include <string_view>

namespace qel {

/// What a section has cost since the last report, and the sections inside it.
class PerfSection final : public Object {
    QEL_CLASS(PerfSection, Object)

public:
    /// Creates a section inside @p outer, which must outlive it; null for the root.
    explicit PerfSection(const char* sectionName, PerfSection* outer = nullptr)
        : name(sectionName), parent(outer) {}

    /// The section @p childName inside this one, made on first use. Sections tend to follow each other in the
    /// same order, so the one that followed the last time is tried first.
    PerfSection& child(const char* childName) {
        PerfSection*& guess = lastChild ? lastChild->follower : firstChild;
        if (!guess || guess->name != childName) guess = &find(childName);
        return *(lastChild = guess);
    }
    /// The same for a literal, which is the same text whenever it is the same pointer.
    PerfSection& childOfLiteral(const char* childName) {
        PerfSection* guess = lastChild ? lastChild->follower : firstChild;
        if (!guess || guess->literal != childName) {
            guess = &child(childName);
            guess->literal = childName;
        }
        return *(lastChild = guess);
    }

    /// Adds one run of @p duration ticks.
    void add(uint64 duration) {
        totalTime += duration;
        maxTime = maxTime < duration ? duration : maxTime;
        ++count;
    }

    const String name;
    PerfSection* const parent;
    const char* literal = nullptr; // the name as childOfLiteral() got it the last time
    int64 startTime = 0;           // UTC stamp
    uint64 totalTime = 0;          // ticks of 100 ns, like all that follow
    uint64 maxTime = 0;
    uint64 count = 0;
    std::map<String, SmartPointer<PerfSection>, std::less<>> children;

private:
    PerfSection& find(const char* childName) {
        SmartPointer<PerfSection>& found = children[childName];
        if (!found) found = new PerfSection(childName, this);
        return *found;
    }

    PerfSection* lastChild = nullptr;
    PerfSection* firstChild = nullptr; // guess for the first use
    PerfSection* follower = nullptr;   // guess for the section after this one
};

} // namespace qel
