// A small dialect of Markdown that compiles into the control codes of texts.
#pragma once

#include <qel/foundation/base/smart_cstr.h>
#include <qel/foundation/base/string.h>
#include <qel/platform/api.h>

namespace qel::util {

/// Compiles Markdown into a text for TextActor::Parser::ControlCodes. Takes time in proportion to the text.
///
/// Knows headings by underlines of "=" or "-", bullets "- ", numbers "# " and "$ " (which starts at 1 again),
/// indentation by pairs of spaces, "<<" for the end of a line, alignment by "[|--]", "[-|-]" and "[--|]", one
/// to three asterisks around bold text, and a backslash in front of a literal character. An empty line is no
/// end of a paragraph, but a line with a space is. Control codes in the source pass through.
/// @param out  receives the text; may be the string that @p source points into.
/// @threads any thread.
QEL_API void parseMarkdown(String& out, SmartCStr source);

} // namespace qel::util
