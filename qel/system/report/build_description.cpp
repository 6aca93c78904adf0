#include <qel/system/report/build_description.h>

#include <algorithm>
#include <deque>

namespace qel::internal {

namespace {

bool isNumber(const String& piece) {
    return !piece.empty() &&
           std::all_of(piece.begin(), piece.end(), [](char c) { return c >= '0' && c <= '9'; });
}

/// Removes the parts of a description from its front, one kind after the other.
class Parser {
public:
    explicit Parser(SmartCStr description) {
        for (String& piece : String(description).split('-')) m_pieces.push_back(std::move(piece));
    }

    BuildDescription parse() {
        takeDirty();
        if (!m_pieces.empty()) m_build.version = takePiece();
        if (m_pieces.empty()) return m_build;
        takeKind();
        takeCommits();
        if (!m_label.empty()) m_build.version += " " + m_label;
        takeShortHash();
        return m_build;
    }

private:
    String takePiece() {
        String piece = std::move(m_pieces.front());
        m_pieces.pop_front();
        return piece;
    }

    void takeDirty() {
        if (m_pieces.size() < 2 || m_pieces.back() != "dirty") return;
        m_pieces.pop_back();
        m_build.isDirty = true;
    }

    void takeKind() {
        const String piece = takePiece();
        const String kind = piece.substr(0, piece.find('.')); // without a build number
        m_build.isCE = kind == "ce";
        m_build.isRelease = m_build.isCE || kind == "release";
        m_build.isResearch = kind == "research";
        if (!m_build.isRelease && !m_build.isResearch) m_label = kind;
    }

    /// Commits after a release mean that the build is not a release; its kind then appears only in the text.
    void takeCommits() {
        if (m_pieces.empty() || !isNumber(m_pieces.front())) return;
        if (m_build.isCE)
            m_label = "ce";
        else if (m_build.isRelease)
            m_label = "release";
        else if (m_build.isResearch)
            m_label = "research";
        m_label += "+" + takePiece();
        m_build.isCE = m_build.isRelease = m_build.isResearch = false;
    }

    void takeShortHash() {
        if (!m_pieces.empty() && m_pieces.front().begins_with('g')) {
            m_build.version += " [" + m_pieces.front().substr(1) + (m_build.isDirty ? "+]" : "]");
        } else if (m_build.isDirty && !m_build.isRelease) {
            m_build.version += " [+]";
        }
    }

    std::deque<String> m_pieces;
    String m_label;
    BuildDescription m_build;
};

} // namespace

BuildDescription parseBuildDescription(SmartCStr description) {
    return Parser(description).parse();
}

} // namespace qel::internal
