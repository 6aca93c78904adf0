// HelpOverlay: the page with all keys and gestures.
#pragma once

#include <hosts/widgets/look.h>

#include <qel/foundation/base/rect.h>
#include <qel/foundation/base/string.h>
#include <qel/text/engine/text_actor.h>

namespace qelviewer {

/// Shows the help over everything. It is a translated text with control codes, in two columns where they fit.
/// @threads main thread.
class HelpOverlay {
public:
    HelpOverlay();

    /// Takes over the theme and the language.
    void restyle(const qelwidgets::Look& look);
    /// Shows or hides the help.
    void toggle() { m_isOpen = !m_isOpen; }
    /// Hides the help.
    void close() { m_isOpen = false; }
    /// Returns true if the help is shown.
    bool isOpen() const { return m_isOpen; }
    /// Draws the help if it is shown.
    void draw(qel::Renderer& renderer, const qel::Rect& place);

private:
    qelwidgets::Look m_look;
    qel::TextActor m_columns[2];
    bool m_isOpen = false;
};

} // namespace qelviewer
