#include <qel/foundation/base/string.h>
#include <qel/foundation/locale/markup_expansion.h>

#include <string_view>

namespace qel {
namespace {

// Returns what plain text has in place of a control code. The words may be anywhere in it.
std::string_view plainTextOf(std::string_view code) {
    if (code.find("eol") != code.npos) return "\n";
    if (code.find("spacer") != code.npos) return " ";
    if (code.find("tab") != code.npos) return "\t";
    return {};
}

} // namespace

String String::transformControlCodesToPlainText(const char* language) const {
    const String translated = applyTrOnlyControlCodes(language);
    const std::string_view text = translated;
    String result;
    std::size_t copied = 0;
    internal::CodeRange code;
    while (internal::findCode(text, "{", copied, code)) {
        result.append(text.substr(copied, code.begin - copied));
        result.append(plainTextOf(text.substr(code.begin, code.end - code.begin)));
        copied = code.end;
    }
    result.append(text.substr(copied));
    return result;
}

} // namespace qel
