// HintPage: a page without cards and with a line of explanation.
#pragma once

#include "page.h"

namespace qelscreens {

/// A page that draws its whole area itself and explains it in a centred text.
/// @threads main thread.
class HintPage : public Page {
    QEL_CLASS(HintPage, Page)

public:
    /// Creates a page. @param hintKey  the key of the translated explanation.
    HintPage(const char* name, const char* hintKey);

    void restyle(const Look& look) override;

protected:
    /// Returns the height of the explanation for this width.
    float measureHint(float width) { return measureText(m_hint, width); }
    /// Draws the explanation from the top of @p place.
    void drawHint(qel::Renderer& renderer, const qel::Rect& place);

private:
    const char* m_hintKey;
    qel::TextActor m_hint;
};

} // namespace qelscreens
