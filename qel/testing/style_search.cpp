#include <qel/testing/style_search.h>

#include <qel/style/style_sheet_p.h>

namespace qel::seams {

void setStyleSearch(StyleSearch search) {
    internal::g_styleSearch = static_cast<internal::StyleSearch>(search);
}

} // namespace qel::seams
