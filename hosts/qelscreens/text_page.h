// TextPage: what texts can look like.
#pragma once

#include "page.h"
#include "text_field.h"

namespace qelscreens {

/// Shows Markdown, control codes, alignment, scripts from right to left, Chinese and Japanese, a marquee
/// and a text field.
class TextPage : public Page {
    QEL_CLASS(TextPage, Page)

public:
    TextPage();

    /// The tabulator opens the text field.
    bool handleKey(const std::string& key) override;

private:
    qel::SmartPointer<TextField> m_field;
};

} // namespace qelscreens
