// The character types come from fribidi. Its own analysis of levels takes time that grows with the square of
// the number of isolates in a paragraph, so the rules are applied here. Rule names are those of UAX #9.
#include <qel/foundation/base/bidi_analysis_p.h>

#include <qel/foundation/base/containers.h>

#include <fribidi.h>

#include <algorithm>
#include <cstddef>
#include <limits>

namespace qel::internal {
namespace {

using Type = FriBidiCharType;
using Types = Vector<Type>;

constexpr Type kLeft = FRIBIDI_TYPE_LTR;
constexpr Type kRight = FRIBIDI_TYPE_RTL;
constexpr Type kArabicLetter = FRIBIDI_TYPE_AL;
constexpr Type kEuropeanNumber = FRIBIDI_TYPE_EN;
constexpr Type kArabicNumber = FRIBIDI_TYPE_AN;
constexpr Type kNeutral = FRIBIDI_TYPE_ON;
constexpr int kMaxDepth = 125; // BD2

Type directionOf(int level) {
    return level % 2 == 1 ? kRight : kLeft;
}

bool isStrong(Type type) {
    return type == kLeft || type == kRight || type == kArabicLetter;
}

bool isNumber(Type type) {
    return type == kEuropeanNumber || type == kArabicNumber;
}

bool isInitiator(Type type) {
    return type == FRIBIDI_TYPE_LRI || type == FRIBIDI_TYPE_RLI || type == FRIBIDI_TYPE_FSI;
}

bool isIsolateControl(Type type) {
    return isInitiator(type) || type == FRIBIDI_TYPE_PDI;
}

/// Returns true for the types to which rules N1 and N2 assign a direction.
bool isNeutral(Type type) {
    return type == kNeutral || type == FRIBIDI_TYPE_WS || type == FRIBIDI_TYPE_SS ||
           type == FRIBIDI_TYPE_BS || isIsolateControl(type);
}

/// P2, P3 and X5c: finds the direction of the paragraph and turns each FSI into an LRI or RLI.
/// @return the level of the paragraph.
int resolveFirstStrong(std::span<Type> types) {
    struct Scope {
        Type* initiator; // null for the paragraph
        Type direction;
    };
    Vector<Scope> open{{nullptr, 0}};
    int paragraphLevel = 0;
    for (Type& type : types) {
        if (isInitiator(type)) {
            open.push_back({&type, 0});
        } else if (type == FRIBIDI_TYPE_PDI && open.size() > 1) {
            open.pop_back();
        } else if (isStrong(type) && open.back().direction == 0) {
            Scope& scope = open.back();
            scope.direction = type;
            if (!scope.initiator) {
                paragraphLevel = type == kLeft ? 0 : 1;
            } else if (*scope.initiator == FRIBIDI_TYPE_FSI && type != kLeft) {
                *scope.initiator = FRIBIDI_TYPE_RLI;
            }
        }
    }
    std::replace(types.begin(), types.end(), Type(FRIBIDI_TYPE_FSI), Type(FRIBIDI_TYPE_LRI));
    return paragraphLevel;
}

/// An isolating run sequence (BD13): characters that are adjacent for the rules of weak and neutral types.
struct Sequence {
    int level;
    Type before;                 ///< the direction assumed before the first character, "sos"
    Vector<std::size_t> members; ///< positions among the characters that rule X9 keeps

    Types types;

    void resolve(Type after) {
        carryMarks();
        resolveNumbers();
        joinSeparators();
        joinTerminators();
        settleWeakTypes();
        resolveNeutrals(after);
    }

private:
    /// W1: a mark takes the type of the character before it.
    void carryMarks() {
        Type previous = before;
        for (Type& type : types) {
            if (type == FRIBIDI_TYPE_NSM) type = isIsolateControl(previous) ? kNeutral : previous;
            previous = type;
        }
    }

    /// W2, W3: a number after an Arabic letter is an Arabic number, and the letter is right-to-left.
    void resolveNumbers() {
        Type strong = before;
        for (Type& type : types) {
            if (isStrong(type)) strong = type;
            if (type == kEuropeanNumber && strong == kArabicLetter) type = kArabicNumber;
            if (type == kArabicLetter) type = kRight;
        }
    }

    /// W4: one separator between two numbers of a kind belongs to them.
    void joinSeparators() {
        for (std::size_t i = 1; i + 1 < types.size(); ++i) {
            const bool joins = types[i] == FRIBIDI_TYPE_CS ||
                               (types[i] == FRIBIDI_TYPE_ES && types[i - 1] == kEuropeanNumber);
            if (joins && isNumber(types[i - 1]) && types[i - 1] == types[i + 1]) types[i] = types[i - 1];
        }
    }

    /// W5: terminators next to a European number belong to it.
    void joinTerminators() {
        for (std::size_t begin = 0, end = 0; begin < types.size(); begin = end) {
            end = begin + 1;
            if (types[begin] != FRIBIDI_TYPE_ET) continue;
            while (end < types.size() && types[end] == FRIBIDI_TYPE_ET) ++end;
            const bool follows = begin > 0 && types[begin - 1] == kEuropeanNumber;
            const bool precedes = end < types.size() && types[end] == kEuropeanNumber;
            if (follows || precedes) std::fill(&types[begin], &types[begin] + (end - begin), kEuropeanNumber);
        }
    }

    /// W6, W7: other separators and terminators are neutral; a number in left-to-right text is part of it.
    void settleWeakTypes() {
        Type strong = before;
        for (Type& type : types) {
            if (isStrong(type)) strong = type;
            if (type == FRIBIDI_TYPE_ES || type == FRIBIDI_TYPE_ET || type == FRIBIDI_TYPE_CS)
                type = kNeutral;
            if (type == kEuropeanNumber && strong == kLeft) type = kLeft;
        }
    }

    /// N1, N2: neutral characters between two of one direction take it, others that of the level.
    void resolveNeutrals(Type after) {
        const auto sideOf = [](Type type) { return type == kLeft ? kLeft : kRight; }; // numbers are right
        for (std::size_t begin = 0, end = 0; begin < types.size(); begin = end) {
            end = begin + 1;
            if (!isNeutral(types[begin])) continue;
            while (end < types.size() && isNeutral(types[end])) ++end;
            const Type left = begin > 0 ? sideOf(types[begin - 1]) : before;
            const Type right = end < types.size() ? sideOf(types[end]) : after;
            const Type resolved = left == right ? left : directionOf(level);
            std::fill(&types[begin], &types[begin] + (end - begin), resolved);
        }
    }
};

/// The embeddings, overrides and isolates that are open at one place of a paragraph (X1 to X8).
class DirectionalStatus {
public:
    explicit DirectionalStatus(int paragraphLevel) { m_entries.push_back({paragraphLevel, kNeutral, false}); }

    int level() const { return m_entries.back().level; }
    /// Returns the type of a character here; an override replaces its own.
    Type apply(Type type) const {
        return m_entries.back().override == kNeutral ? type : m_entries.back().override;
    }

    void openEmbedding(Type type) {
        const bool isRight = type == FRIBIDI_TYPE_RLE || type == FRIBIDI_TYPE_RLO;
        const bool overrides = type == FRIBIDI_TYPE_LRO || type == FRIBIDI_TYPE_RLO;
        if (push(isRight, overrides ? (isRight ? kRight : kLeft) : kNeutral, false)) return;
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
    void openIsolate(Type type) {
        if (!push(type == FRIBIDI_TYPE_RLI, kNeutral, true)) ++m_overflowIsolates;
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
        Type override;
        bool isIsolate;
    };

    bool push(bool isRight, Type override, bool isIsolate) {
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
    explicit Paragraph(std::span<Type> types)
        : m_level(resolveFirstStrong(types)),
          m_startsWithControl(isRemoved(types.front())),
          m_status(m_level) {
        for (const Type type : types) take(type);
        for (Sequence& sequence : m_sequences) resolve(sequence);
        resetTrailingSpace();
    }

    TextDirections directions() const {
        const auto isRight = [](const Kept& kept) { return kept.isRight; };
        const bool isParagraphRight = m_level == 1;
        const bool begins = m_startsWithControl || m_kept.empty() ? isParagraphRight : m_kept.front().isRight;
        return {begins, begins || std::any_of(m_kept.begin(), m_kept.end(), isRight)};
    }

private:
    /// A character that rule X9 keeps.
    struct Kept {
        Type type;
        int level;
        std::size_t sequence;
        bool isRight;
    };

    static bool isEmbedding(Type type) {
        return type == FRIBIDI_TYPE_LRE || type == FRIBIDI_TYPE_RLE || type == FRIBIDI_TYPE_LRO ||
               type == FRIBIDI_TYPE_RLO;
    }
    static bool isRemoved(Type type) {
        return isEmbedding(type) || type == FRIBIDI_TYPE_PDF || type == FRIBIDI_TYPE_BN;
    }

    void take(Type type) {
        if (isEmbedding(type)) {
            m_status.openEmbedding(type);
        } else if (type == FRIBIDI_TYPE_PDF) {
            m_status.closeEmbedding();
        } else if (isInitiator(type)) {
            keep(type, sequenceFor(m_status.level()));
            m_openIsolates.push_back(m_kept.back().sequence);
            m_status.openIsolate(type);
        } else if (type == FRIBIDI_TYPE_PDI && !m_openIsolates.empty()) {
            m_status.closeIsolate();
            keep(type, m_openIsolates.back());
            m_openIsolates.pop_back();
        } else if (type == FRIBIDI_TYPE_BS) {
            m_status = DirectionalStatus(m_level);
            keep(type, sequenceFor(m_level));
        } else if (type != FRIBIDI_TYPE_BN) {
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

    void keep(Type type, std::size_t sequence) {
        m_sequences[sequence].members.push_back(m_kept.size());
        m_sequences[sequence].types.push_back(m_status.apply(type));
        m_kept.push_back({type, m_status.level(), sequence, false});
    }

    void resolve(Sequence& sequence) {
        const std::size_t last = sequence.members.back();
        const bool isOpen = isInitiator(m_kept[last].type) || last + 1 == m_kept.size();
        const int next = isOpen ? m_level : m_kept[last + 1].level;
        sequence.resolve(directionOf(std::max(sequence.level, next)));
        for (std::size_t i = 0; i < sequence.members.size(); ++i)
            m_kept[sequence.members[i]].isRight = sequence.types[i] == kRight;
    }

    /// L1: separators, and the white space before them and at the end, have the direction of the paragraph.
    void resetTrailingSpace() {
        bool resets = true;
        for (auto kept = m_kept.rbegin(); kept != m_kept.rend(); ++kept) {
            const bool isSeparator = kept->type == FRIBIDI_TYPE_SS || kept->type == FRIBIDI_TYPE_BS;
            resets =
                isSeparator || (resets && (kept->type == FRIBIDI_TYPE_WS || isIsolateControl(kept->type)));
            if (resets) kept->isRight = m_level == 1;
        }
    }

    const int m_level;
    const bool m_startsWithControl;
    DirectionalStatus m_status;
    Vector<std::size_t> m_openIsolates; // the sequences of their initiators
    Vector<Kept> m_kept;
    Vector<Sequence> m_sequences;
};

} // namespace

TextDirections findDirections(std::span<const uint32> codePoints) {
    constexpr std::size_t kMost = std::numeric_limits<FriBidiStrIndex>::max(); // the library's limit
    codePoints = codePoints.first(std::min(codePoints.size(), kMost));
    Types types(codePoints.size());
    fribidi_get_bidi_types(codePoints.data(), static_cast<FriBidiStrIndex>(types.size()), types.data());
    TextDirections found;
    for (auto begin = types.begin(); begin != types.end();) {
        auto end = std::find(begin, types.end(), Type(FRIBIDI_TYPE_BS));
        if (end != types.end()) ++end;
        const TextDirections paragraph = Paragraph({begin, end}).directions();
        if (begin == types.begin()) found.beginsRightToLeft = paragraph.beginsRightToLeft;
        found.holdsRightToLeft |= paragraph.holdsRightToLeft;
        begin = end;
    }
    return found;
}

} // namespace qel::internal
