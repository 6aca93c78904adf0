// TextReader: reads a text and its control codes into the tokens of a TextActor.
#pragma once

#include <qel/foundation/base/smart_cstr.h>
#include <qel/foundation/base/string.h>
#include <qel/foundation/base/types.h>
#include <qel/text/engine/text_actor.h>
#include <qel/text/engine/text_source_p.h>

#include <bit>
#include <cstddef>
#include <set>
#include <span>
#include <string>
#include <string_view>

namespace qel::internal {

/// Where a control code leaves the text that replaces it, and the translations that are being read.
struct CodeContext {
    String* replacement = nullptr;              ///< null: codes insert nothing
    std::set<std::string>* parsedTrs = nullptr; ///< null: translations are not guarded against recursion
};

/// Appends the tokens of a text to those of an actor. Takes time in proportion to the text and to what its
/// codes insert, which is limited.
class TextReader {
public:
    explicit TextReader(TextActor& actor)
        : m_actor(actor), m_keepsSpaces(actor.m_parser == TextActor::Parser::Plain) {}

    /// Reads a whole text.
    void read(String text);
    /// Reads a control code. @return false if it ends the text.
    bool runCode(SmartCStr code, const CodeContext& context);
    /// Appends a token with the index of the character that was read last.
    Token& append(Token::Type type) { return appendAt(type, m_actor.m_sourceIndex); }

    /// A control code. Its name includes the colon if it has an argument.
    struct ControlCode {
        std::string_view name;
        /// Carries out the code. @return false if it ends the text.
        bool (TextReader::*run)(const ControlCode& code, SmartCStr argument, const CodeContext& context);
        Token::Type type = Token::Type::Character; ///< of the token of a simple code
        uint32 value = 0;                          ///< of that token
    };
    /// Returns all control codes in the order of their names.
    static std::span<const ControlCode> controlCodes();

private:
    /// Returns the value of a token with a float.
    static constexpr uint32 bitsOf(float number) { return std::bit_cast<uint32>(number); }
    static const ControlCode* findCode(std::string_view name);

    Token& appendAt(Token::Type type, uint32 sourceIndex);
    bool readsCodes() const;
    bool readToEnd(TextSource& source);
    void takeAscii(TextSource& source);
    void takeCharacter(uint32 codePoint);
    void takeSpace();
    bool takeCode(TextSource& source);
    void insert(TextSource& source, String text);
    void warn(std::string_view before, SmartCStr code, std::string_view after = {});

    // The control codes, defined in control_codes.cpp.
    bool pushSimple(const ControlCode& code, SmartCStr, const CodeContext&);
    bool pushColor(const ControlCode& code, SmartCStr color, const CodeContext&);
    bool pushFont(const ControlCode&, SmartCStr size, const CodeContext&);
    bool pushFontStyle(const ControlCode&, SmartCStr style, const CodeContext&);
    bool pushTabStop(const ControlCode&, SmartCStr position, const CodeContext&);
    bool pushAlignment(const ControlCode&, SmartCStr side, const CodeContext&);
    bool pushSpace(const ControlCode&, SmartCStr, const CodeContext&);
    bool endLine(const ControlCode&, SmartCStr, const CodeContext&);
    bool endLineIfAny(const ControlCode&, SmartCStr, const CodeContext&);
    bool endParagraph(const ControlCode&, SmartCStr, const CodeContext&);
    bool endParagraphIfAny(const ControlCode&, SmartCStr, const CodeContext&);
    bool endText(const ControlCode&, SmartCStr, const CodeContext&);
    bool endTextOfLines(const ControlCode&, SmartCStr, const CodeContext&);
    bool insertEnvironment(const ControlCode&, SmartCStr name, const CodeContext& context);
    bool insertTranslation(const ControlCode& code, SmartCStr key, const CodeContext& context);
    bool leaveTranslation(const ControlCode&, SmartCStr key, const CodeContext& context);

    TokenTail& tail() { return m_actor.m_tokenTail; }
    void trim();
    void pushLineEnd();
    void pushParagraphEnd();

    static const ControlCode kCodes[];

    TextActor& m_actor;
    const bool m_keepsSpaces;
    std::set<std::string> m_parsedTrs;
    String m_code; // that is being read; a member so that its memory is used again
    std::size_t m_expansions = 0;
    std::size_t m_insertedBytes = 0;
    bool m_isExhausted = false; // true after the limits: codes insert nothing any more
    std::size_t m_warnings = 0;
};

} // namespace qel::internal
