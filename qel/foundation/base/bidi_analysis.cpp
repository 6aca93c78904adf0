// Rule names are those of UAX #9. Fribidi's own analysis of levels takes time that grows with the square of
// the number of isolates in a paragraph.
#include <qel/foundation/base/bidi_analysis.h>

#include <qel/foundation/base/containers.h>

#include <algorithm>
#include <cstddef>

namespace qel::internal {
namespace {

using enum BidiClass;
using Classes = Vector<BidiClass>;

constexpr int kMaxDepth = 125; // BD2

BidiClass directionOf(int level) {
    return level % 2 == 1 ? R : L;
}

bool isStrong(BidiClass type) {
    return type == L || type == R || type == AL;
}

bool isNumber(BidiClass type) {
    return type == EN || type == AN;
}

bool isInitiator(BidiClass type) {
    return type == LRI || type == RLI || type == FSI;
}

bool isIsolateControl(BidiClass type) {
    return isInitiator(type) || type == PDI;
}

/// Returns true for the classes to which rules N1 and N2 assign a direction.
bool isNeutral(BidiClass type) {
    return type == ON || type == WS || type == S || type == B || isIsolateControl(type);
}

/// P2, P3 and X5c: finds the direction of the paragraph and turns each FSI into an LRI or RLI.
/// @return the level of the paragraph.
int resolveFirstStrong(std::span<BidiClass> types) {
    struct Scope {
        BidiClass* initiator; // null for the paragraph
        bool isDecided;
    };
    Vector<Scope> open{{nullptr, false}};
    int paragraphLevel = 0;
    for (BidiClass& type : types) {
        if (isInitiator(type)) {
            open.push_back({&type, false});
        } else if (type == PDI && open.size() > 1) {
            open.pop_back();
        } else if (isStrong(type) && !open.back().isDecided) {
            Scope& scope = open.back();
            scope.isDecided = true;
            if (!scope.initiator) {
                paragraphLevel = type == L ? 0 : 1;
            } else if (*scope.initiator == FSI && type != L) {
                *scope.initiator = RLI;
            }
        }
    }
    std::replace(types.begin(), types.end(), FSI, LRI);
    return paragraphLevel;
}

/// An isolating run sequence (BD13): characters that are adjacent for the rules of weak and neutral types.
struct Sequence {
    int level;
    BidiClass before;            ///< the direction assumed before the first character, "sos"
    Vector<std::size_t> members; ///< positions among the characters that rule X9 keeps

    Classes types;

    void resolve(BidiClass after) {
        carryMarks();
        resolveNumbers();
        joinSeparators();
        joinTerminators();
        settleWeakTypes();
        resolveNeutrals(after);
    }

    /// I1, I2: returns the level of member @p index.
    int levelOf(std::size_t index) const {
        const BidiClass type = types[index];
        if (isNumber(type)) return (level | 1) + 1;
        return level + (directionOf(level) != type ? 1 : 0);
    }

private:
    /// W1: a mark takes the type of the character before it.
    void carryMarks() {
        BidiClass previous = before;
        for (BidiClass& type : types) {
            if (type == NSM) type = isIsolateControl(previous) ? ON : previous;
            previous = type;
        }
    }

    /// W2, W3: a number after an Arabic letter is an Arabic number, and the letter is right-to-left.
    void resolveNumbers() {
        BidiClass strong = before;
        for (BidiClass& type : types) {
            if (isStrong(type)) strong = type;
            if (type == EN && strong == AL) type = AN;
            if (type == AL) type = R;
        }
    }

    /// W4: one separator between two numbers of a kind belongs to them.
    void joinSeparators() {
        for (std::size_t i = 1; i + 1 < types.size(); ++i) {
            const bool joins = types[i] == CS || (types[i] == ES && types[i - 1] == EN);
            if (joins && isNumber(types[i - 1]) && types[i - 1] == types[i + 1]) types[i] = types[i - 1];
        }
    }

    /// W5: terminators next to a European number belong to it.
    void joinTerminators() {
        for (std::size_t begin = 0, end = 0; begin < types.size(); begin = end) {
            end = begin + 1;
            if (types[begin] != ET) continue;
            while (end < types.size() && types[end] == ET) ++end;
            const bool follows = begin > 0 && types[begin - 1] == EN;
            const bool precedes = end < types.size() && types[end] == EN;
            if (follows || precedes) std::fill(&types[begin], &types[begin] + (end - begin), EN);
        }
    }

    /// W6, W7: other separators and terminators are neutral; a number in left-to-right text is part of it.
    void settleWeakTypes() {
        BidiClass strong = before;
        for (BidiClass& type : types) {
            if (isStrong(type)) strong = type;
            if (type == ES || type == ET || type == CS) type = ON;
            if (type == EN && strong == L) type = L;
        }
    }

    /// N1, N2: neutral characters between two of one direction take it, others that of the level.
    void resolveNeutrals(BidiClass after) {
        const auto sideOf = [](BidiClass type) { return type == L ? L : R; }; // numbers are right
        for (std::size_t begin = 0, end = 0; begin < types.size(); begin = end) {
            end = begin + 1;
            if (!isNeutral(types[begin])) continue;
            while (end < types.size() && isNeutral(types[end])) ++end;
            const BidiClass left = begin > 0 ? sideOf(types[begin - 1]) : before;
            const BidiClass right = end < types.size() ? sideOf(types[end]) : after;
            const BidiClass resolved = left == right ? left : directionOf(level);
            std::fill(&types[begin], &types[begin] + (end - begin), resolved);
        }
    }
};

/// The embeddings, overrides and isolates that are open at one place of a paragraph (X1 to X8).
class DirectionalStatus {
public:
    explicit DirectionalStatus(int paragraphLevel) { m_entries.push_back({paragraphLevel, ON, false}); }

    int level() const { return m_entries.back().level; }
    /// Returns the type of a character here; an override replaces its own.
    BidiClass apply(BidiClass type) const {
        return m_entries.back().override == ON ? type : m_entries.back().override;
    }

    void openEmbedding(BidiClass type) {
        const bool isRight = type == RLE || type == RLO;
        const bool overrides = type == LRO || type == RLO;
        if (push(isRight, overrides ? (isRight ? R : L) : ON, false)) return;
        if (m_overflowIsolates == 0) ++m_overflowEmbeddings;
    }
    void closeEmbedding() {
        if (m_overflowIsolates != 0) return;
        if (m_overflowEmbeddings != 0) {
            --m_overflowEmbeddings;
        } else if (!m_entries.back().isIsolate && m_entries.size() > 1) {
            m_entries.pop_back();
        }
    }
    void openIsolate(BidiClass type) {
        if (!push(type == RLI, ON, true)) ++m_overflowIsolates;
    }
    /// Closes an isolate that is open, and everything that was opened inside it.
    void closeIsolate() {
        if (m_overflowIsolates != 0) {
            --m_overflowIsolates;
            return;
        }
        m_overflowEmbeddings = 0;
        while (!m_entries.back().isIsolate) m_entries.pop_back();
        m_entries.pop_back();
    }

private:
    struct Entry {
        int level;
        BidiClass override;
        bool isIsolate;
    };

    bool push(bool isRight, BidiClass override, bool isIsolate) {
        const int next = isRight ? (level() + 1) | 1 : (level() + 2) & ~1;
        if (next > kMaxDepth || m_overflowIsolates != 0 || m_overflowEmbeddings != 0) return false;
        m_entries.push_back({next, override, isIsolate});
        return true;
    }

    Vector<Entry> m_entries;
    std::size_t m_overflowIsolates = 0;
    std::size_t m_overflowEmbeddings = 0;
};

/// One paragraph, its separator included.
class Paragraph {
public:
    Paragraph(std::span<BidiClass> types, BidiSpaceRule rule)
        : m_level(resolveFirstStrong(types)), m_status(m_level) {
        for (const BidiClass type : types) take(type);
        for (Sequence& sequence : m_sequences) resolve(sequence);
        if (rule == BidiSpaceRule::Reset) resetSpace();
    }

    /// Sets the levels of the characters of @p types, those that rule X9 removes included.
    void copyLevels(std::span<const BidiClass> types, std::span<uint8> levels) const {
        int level = m_level;
        auto kept = m_kept.begin();
        for (std::size_t i = 0; i < types.size(); ++i) {
            if (!isRemoved(types[i])) level = kept++->level;
            levels[i] = static_cast<uint8>(level);
        }
    }

private:
    /// A character that rule X9 keeps.
    struct Kept {
        BidiClass type;
        int level; // of the embedding at first, then of the character
        std::size_t sequence;
    };

    static bool isEmbedding(BidiClass type) {
        return type == LRE || type == RLE || type == LRO || type == RLO;
    }
    static bool isRemoved(BidiClass type) { return isEmbedding(type) || type == PDF || type == BN; }

    void take(BidiClass type) {
        if (isEmbedding(type)) {
            m_status.openEmbedding(type);
        } else if (type == PDF) {
            m_status.closeEmbedding();
        } else if (isInitiator(type)) {
            keep(type, sequenceFor(m_status.level()));
            m_openIsolates.push_back(m_kept.back().sequence);
            m_status.openIsolate(type);
        } else if (type == PDI && !m_openIsolates.empty()) {
            m_status.closeIsolate();
            keep(type, m_openIsolates.back());
            m_openIsolates.pop_back();
        } else if (type == B) {
            m_status = DirectionalStatus(m_level);
            keep(type, sequenceFor(m_level));
        } else if (type != BN) {
            keep(type, sequenceFor(m_status.level()));
        }
    }

    /// Returns the sequence of the previous character if it has the same level, else a new one.
    std::size_t sequenceFor(int level) {
        const int previous = m_kept.empty() ? m_level : m_kept.back().level;
        if (!m_kept.empty() && previous == level) return m_kept.back().sequence;
        m_sequences.push_back({level, directionOf(std::max(level, previous)), {}, {}});
        return m_sequences.size() - 1;
    }

    void keep(BidiClass type, std::size_t sequence) {
        m_sequences[sequence].members.push_back(m_kept.size());
        m_sequences[sequence].types.push_back(m_status.apply(type));
        m_kept.push_back({type, m_status.level(), sequence});
    }

    void resolve(Sequence& sequence) {
        const std::size_t last = sequence.members.back();
        const bool isOpen = isInitiator(m_kept[last].type) || last + 1 == m_kept.size();
        const int next = isOpen ? m_level : m_sequences[m_kept[last + 1].sequence].level;
        sequence.resolve(directionOf(std::max(sequence.level, next)));
        for (std::size_t i = 0; i < sequence.members.size(); ++i)
            m_kept[sequence.members[i]].level = sequence.levelOf(i);
    }

    /// L1.
    void resetSpace() {
        bool resets = true;
        for (auto kept = m_kept.rbegin(); kept != m_kept.rend(); ++kept) {
            const bool isSeparator = kept->type == S || kept->type == B;
            resets = isSeparator || (resets && (kept->type == WS || isIsolateControl(kept->type)));
            if (resets) kept->level = m_level;
        }
    }

    const int m_level;
    DirectionalStatus m_status;
    Vector<std::size_t> m_openIsolates; // the sequences of their initiators
    Vector<Kept> m_kept;
    Vector<Sequence> m_sequences;
};

} // namespace

void findBidiLevels(std::span<BidiClass> classes, std::span<uint8> levels, BidiSpaceRule rule) {
    while (!classes.empty()) {
        auto end = std::find(classes.begin(), classes.end(), B);
        if (end != classes.end()) ++end;
        const auto size = static_cast<std::size_t>(end - classes.begin());
        Paragraph(classes.first(size), rule).copyLevels(classes.first(size), levels.first(size));
        classes = classes.subspan(size);
        levels = levels.subspan(size);
    }
}

} // namespace qel::internal
