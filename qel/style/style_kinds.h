// The kinds of rules, selector parts and values of stylesheets, by the numbers that log lines print.
#pragma once

namespace qel {

/// The kind of a rule. Only style rules answer questions.
enum class StyleRuleType : int {
    Style = 0,     ///< selectors and declarations
    Media = 1,     ///< the at-rule "media"
    Supports = 2,  ///< the at-rule "supports"
    FontFace = 3,  ///< the at-rule "font-face"
    Keyframes = 4, ///< the at-rule "keyframes"
    Page = 5,      ///< the at-rule "page"
    Namespace = 6, ///< the at-rule "namespace"
    Unknown = 7,   ///< every other rule that begins with an at sign
};

/// The kind of a part of a selector. A selector with a part from Universal on never matches.
enum class StyleMatchType : int {
    Tag = 0,           ///< a name alone, compared with the class names of the asking object
    Id = 1,            ///< # and a name
    Class = 2,         ///< . and a name
    PseudoElement = 3, ///< :: and a name; also :before, :after, :first-line and :first-letter
    Universal = 4,     ///< *
    PseudoClass = 5,   ///< : and a name; also everything with one or two colons and arguments
    Attribute = 6,     ///< a condition in square brackets
    Combinator = 7,    ///< a space, >, +, ~ or || between two parts
    Namespace = 8,     ///< the | between a namespace and a name
};

/// The kind of a value.
enum class StyleUnit : int {
    Number = 0,     ///< without a unit
    Percentage = 1, ///< with %
    Pixels = 2,     ///< with px
    Ems = 3,        ///< with em
    Dimension = 4,  ///< with any other unit
    String = 5,     ///< in quotes
    Identifier = 6, ///< a word
    Uri = 7,        ///< url(...) with or without quotes
    HexColor = 8,   ///< # and a word
    Function = 9,   ///< a name with arguments
    Operator = 10,  ///< a comma, a slash or another single character
    Block = 11,     ///< values in brackets of any kind
    Other = 12,     ///< a word that begins with an at sign, or a mark of an HTML comment
};

} // namespace qel
