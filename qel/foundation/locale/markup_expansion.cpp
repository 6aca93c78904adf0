#include <qel/foundation/locale/markup_expansion.h>

namespace qel::internal {

// If a line ends before a code does, all openings before that line end are skipped.
bool findCode(std::string_view text, std::string_view opening, std::size_t position, CodeRange& found) {
    for (;;) {
        found.begin = text.find(opening, position);
        if (found.begin == text.npos) return false;
        found.end = text.find_first_of("}\n\r", found.begin + opening.size());
        if (found.end == text.npos) return false;
        if (text[found.end++] == '}') return true;
        position = found.end;
    }
}

} // namespace qel::internal
