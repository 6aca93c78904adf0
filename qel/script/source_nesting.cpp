#include <qel/script/source_nesting_p.h>

#include <qel/script/source_tokens_p.h>

#include <vector>

namespace qelSq::internal {

namespace {

/// What is open at a place of the source, outermost first: brackets by their character, a brace that is the
/// body of a function or class as 'B', and what waits for the end of something that follows.
enum Open : char {
    kExpression = 'e', // an operator, for its operand
    kHeader = 'h',     // a statement, for its head
    kStatement = 's',  // a statement, for its body
    kDo = 'd',         // a do, for its body and condition
    kFunction = 'f',   // a function, for its parameters
    kBodyless = 'b',   // a function, for its body
    kClass = 'c',      // a class, for its body
    kExtends = 'x',    // a class with a base, for its body
    kBody = 'B'
};

class NestingScanner {
public:
    explicit NestingScanner(std::string_view source) : m_tokens(source) {}

    NestingExcess scan(size_t limit) {
        for (Token token = m_tokens.next(); token.kind != TokenKind::End; token = m_tokens.next()) {
            endStatementBefore(token);
            open(token);
            if (m_open.size() > limit) return {true, m_tokens.line()};
        }
        return {};
    }

private:
    enum class Before { Nothing, OperandEnd, HeadEnd, StatementEnd };

    static bool isBracket(char open) { return open == '(' || open == '[' || open == '{' || open == kBody; }
    char top() const { return m_open.empty() ? '{' : m_open.back(); }
    void push(char open) { m_open.push_back(open); }
    bool popIf(char open) {
        if (top() != open || m_open.empty()) return false;
        m_open.pop_back();
        return true;
    }

    // Two operands side by side, or a semicolon, end all that waits within the innermost bracket.
    void endStatementBefore(const Token& token) {
        if (m_before != Before::StatementEnd && !(m_before == Before::OperandEnd && beginsAnew(token)))
            return;
        char continued = continuedBy(token);
        while (!isBracket(top()) && top() != continued) m_open.pop_back();
    }

    // What is open and goes on with @p token instead of being ended by it; 0 for nothing.
    char continuedBy(const Token& token) const {
        char waiting = token.text == "else" || token.text == "catch" ? char{kStatement} : char{kDo};
        if (waiting == kDo && token.text != "while") return 0;
        for (size_t i = m_open.size(); i-- > 0 && !isBracket(m_open[i]);) {
            if (m_open[i] == waiting) return waiting;
        }
        return 0;
    }

    bool beginsAnew(const Token& token) const {
        switch (token.kind) {
        case TokenKind::Prefix:
        case TokenKind::Start:
        case TokenKind::Header:
        case TokenKind::Statement:
        case TokenKind::Function:
        case TokenKind::Class:
            return true;
        case TokenKind::Operand:
            return token.symbol != '+' && token.symbol != '-';
        case TokenKind::Open:
            return token.symbol == '{' && top() != kClass && top() != kExtends;
        default:
            return false;
        }
    }

    void open(const Token& token) {
        Before before = m_before;
        m_before = Before::Nothing;
        switch (token.kind) {
        case TokenKind::Operand:
            m_before = Before::OperandEnd;
            break;
        case TokenKind::Prefix:
        case TokenKind::Infix:
            push(kExpression);
            break;
        case TokenKind::Header:
            push(kHeader);
            break;
        case TokenKind::Statement:
            push(kStatement);
            break;
        case TokenKind::Function:
            push(kFunction);
            break;
        case TokenKind::Class:
            push(kClass);
            break;
        case TokenKind::Extends:
            push(kExtends);
            break;
        case TokenKind::Open:
            push(isBody(token, before) ? char{kBody} : token.symbol);
            break;
        case TokenKind::Close:
            m_before = close(token.symbol);
            break;
        case TokenKind::Comma:
            while (popIf(kExpression)) {
            }
            break;
        case TokenKind::Semicolon:
            m_before = Before::StatementEnd;
            break;
        default:
            break;
        }
    }

    // Whether a brace is the body of the function or class that is open, and not a table or a block in it.
    bool isBody(const Token& token, Before before) const {
        if (token.symbol != '{') return false;
        return (top() == kBodyless && before == Before::HeadEnd) || top() == kClass || top() == kExtends;
    }

    Before close(char bracket) {
        char opened = bracket == ')' ? '(' : bracket == ']' ? '[' : '{';
        while (!m_open.empty() && top() != opened && !(opened == '{' && top() == kBody)) m_open.pop_back();
        if (popIf(kBody)) {
            if (!popIf(kBodyless)) {
                popIf(kExtends);
                popIf(kClass);
            }
            return Before::OperandEnd;
        }
        popIf(opened);
        if (bracket != ')' || (top() != kHeader && top() != kFunction)) return Before::OperandEnd;
        m_open.back() = top() == kHeader ? kStatement : kBodyless;
        return Before::HeadEnd;
    }

    TokenReader m_tokens;
    std::vector<char> m_open;
    Before m_before = Before::Nothing;
};

} // namespace

NestingExcess findNestingExcess(std::string_view source, size_t limit) {
    return NestingScanner(source).scan(limit);
}

} // namespace qelSq::internal
