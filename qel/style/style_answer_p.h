// Answers of a stylesheet and how they are read from declarations.
#pragma once

#include <qel/foundation/base/ivec.h>
#include <qel/style/css_tree_p.h>
#include <qel/style/style_question_p.h>

namespace qel::internal {

/// The beginnings of the URIs of sprites and of translated texts.
inline constexpr std::string_view kSpriteScheme = "res://";
inline constexpr std::string_view kTranslationScheme = "tr://";

/// The answer to a question. It is valid until a stylesheet changes.
struct StyleAnswer {
    /// What a question leads to.
    enum class Result : uint8 {
        None,      ///< nothing usable
        Untouched, ///< found, but the asker's variable stays as it is
        Found,     ///< found, with a value
    };

    Result result = Result::None;
    IVec4<float> color;              ///< of a colour
    const CssValue* value = nullptr; ///< of anything else
};

/// Reads a declaration for @p getter. A value that cannot be used is logged once.
StyleAnswer readStyle(StyleGetter getter, const CssTree& tree, CssDeclaration& declaration);

} // namespace qel::internal
