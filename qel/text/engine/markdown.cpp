#include <qel/text/engine/markdown.h>

#include <algorithm>
#include <cstddef>
#include <string_view>
#include <unordered_map>
#include <utility>

namespace qel::util {
namespace {

constexpr std::string_view kBodyText = "{font:small-medium}{color:white}";

/// What a line begins with.
enum class Mark { None, Bullet, Number };

/// A line of the source.
struct Line {
    std::size_t indentation = 0; // in spaces
    Mark mark = Mark::None;
    uint32 number = 0;
    int heading = 0;       // 2 is above 1; 0 is no heading
    std::string_view text; // after the indentation and the mark
};

bool isUnderline(std::string_view text) {
    return text.starts_with("===") || text.starts_with("---");
}

/// A style that asterisks open.
struct Emphasis {
    std::string_view opening;
    bool setsColor;
};

Emphasis emphasisOf(std::size_t asterisks) {
    if (asterisks == 1) return {"{fontstyle:bold}", false};
    if (asterisks == 2) return {"{fontstyle:bold}{color:complementary}", true};
    return {"{fontstyle:bold}{color:primary}", true};
}

/// Compiles the text of one line after its mark.
class InlineCompiler {
public:
    InlineCompiler(String& out, std::string_view text) : m_out(out), m_text(text) {}

    void compile() {
        while (!m_text.empty()) {
            copyPlain();
            compileMark();
        }
        if (m_isOpen) close();
    }

private:
    void copyPlain() {
        const std::size_t length = std::min(m_text.find_first_of("\\<[*"), m_text.size());
        m_out.append(m_text.substr(0, length));
        m_text.remove_prefix(length);
    }

    void compileMark() {
        if (m_text.empty()) return;
        if (m_text.front() == '\\') {
            m_out.append(m_text.substr(1, 1));
            m_text.remove_prefix(std::min<std::size_t>(m_text.size(), 2));
        } else if (m_text.front() == '*') {
            compileAsterisks();
        } else if (!replace("<<", "{eol}") && !replace("[|--]", "{align:left}") &&
                   !replace("[-|-]", "{align:center}") && !replace("[--|]", "{align:right}")) {
            m_out += m_text.front();
            m_text.remove_prefix(1);
        }
    }

    bool replace(std::string_view mark, std::string_view code) {
        if (!m_text.starts_with(mark)) return false;
        m_out.append(code);
        m_text.remove_prefix(mark.size());
        return true;
    }

    void compileAsterisks() {
        const std::size_t count = std::min(m_text.find_first_not_of('*'), m_text.size());
        m_text.remove_prefix(count);
        if (m_isOpen) return close();
        const Emphasis emphasis = emphasisOf(count);
        m_out.append(emphasis.opening);
        m_isOpen = true;
        m_setsColor = emphasis.setsColor;
    }

    void close() {
        m_out.append("{fontstyle:regular}");
        if (m_setsColor) m_out.append("{color:main}");
        m_isOpen = false;
    }

    String& m_out;
    std::string_view m_text;
    bool m_isOpen = false;
    bool m_setsColor = false;
};

/// Compiles line by line. A line is held back until the next one shows whether it is a heading.
class Compiler {
public:
    String compile(std::string_view source);

private:
    void takeLine(std::string_view text);
    void takeMark(Line& line);
    void emitPending();
    void emitHeading();
    void emitContent();
    void emitRepeated(std::string_view code, std::size_t count) {
        while (count-- > 0) m_out.append(code);
    }

    String m_out;
    Line m_line;
    bool m_hasLine = false;
    std::unordered_map<std::size_t, uint32> m_numbers; // the last number of each level of indentation
};

String Compiler::compile(std::string_view source) {
    m_out.append(kBodyText).append("\n");
    while (!source.empty()) {
        const std::size_t length = std::min(source.find('\n'), source.size());
        takeLine(source.substr(0, length));
        source.remove_prefix(std::min(source.size(), length + 1));
    }
    emitPending();
    m_out.append("{end_of_text}\n");
    return std::move(m_out);
}

void Compiler::takeLine(std::string_view text) {
    Line line;
    line.indentation = std::min(text.find_first_not_of(' '), text.size());
    line.text = text.substr(line.indentation);
    takeMark(line);
    if (line.mark == Mark::None && isUnderline(line.text)) {
        m_line.heading = line.text.front() == '=' ? 2 : 1;
        return;
    }
    emitPending();
    m_line = line;
    m_hasLine = true;
}

void Compiler::takeMark(Line& line) {
    if (line.text.size() < 3 || line.text[1] != ' ') return;
    const char mark = line.text.front();
    if (mark != '#' && mark != '$' && mark != '-') return;
    line.text.remove_prefix(2);
    line.mark = mark == '-' ? Mark::Bullet : Mark::Number;
    if (mark == '-') return;
    uint32& number = m_numbers[line.indentation / 2];
    number = mark == '$' ? 1 : number + 1;
    line.number = number;
}

void Compiler::emitPending() {
    if (!m_hasLine) return;
    emitHeading();
    if (m_line.indentation != 0 || m_line.mark != Mark::None || !m_line.text.empty()) emitContent();
    if (m_line.heading != 0) m_out.append("{fontstyle:regular}").append(kBodyText);
    m_out += '\n';
}

void Compiler::emitHeading() {
    if (m_line.heading == 2) m_out.append("{fontstyle:bold}{font:medium-large}{color:primary}");
    if (m_line.heading == 1) m_out.append("{fontstyle:bold}{color:complementary}");
}

void Compiler::emitContent() {
    emitRepeated("{tab}", m_line.indentation / 2);
    emitRepeated("{half_tab}", m_line.indentation % 2);
    if (m_line.mark == Mark::Number) m_out.append(std::to_string(m_line.number)).append(".{tab}");
    if (m_line.mark == Mark::Bullet) m_out.append("{quarter_tab}{bullet}{tab}");
    if (m_line.text.find_first_not_of(' ') == m_line.text.npos) {
        m_out.append("{optional_eop}");
        return;
    }
    m_out.append("{push_margin}");
    InlineCompiler(m_out, m_line.text).compile();
    m_out.append("{pop_margin}{eol}");
}

} // namespace

void parseMarkdown(String& out, SmartCStr source) {
    String withoutReturns(source);
    std::erase(withoutReturns, '\r');
    out = Compiler().compile(withoutReturns);
}

} // namespace qel::util
