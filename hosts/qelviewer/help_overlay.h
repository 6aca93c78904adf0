// HelpOverlay: the page with all keys and gestures.
#pragma once

#include <hosts/widgets/look.h>
#include <hosts/widgets/scroll.h>

#include <qel/foundation/base/object.h>
#include <qel/foundation/base/rect.h>
#include <qel/foundation/base/smart_pointer.h>
#include <qel/text/engine/text_actor.h>

#include <string>
#include <string_view>
#include <vector>

namespace qel {
class Renderer;
class TouchState;
} // namespace qel

namespace qelviewer {

/// Shows the help over everything: two translated texts, beside each other where they fit. A line
/// "INPUT|EFFECT" becomes a row of a table, another line a heading. The wheel, drags and keys scroll the help
/// if it is higher than the window.
/// @threads main thread.
class HelpOverlay : public qel::Object {
    QEL_CLASS(HelpOverlay, qel::Object)

public:
    /// Takes over the theme and the language.
    void restyle(const qelwidgets::Look& look);
    /// Shows or hides the help.
    void toggle();
    /// Returns true if the help is shown.
    bool isOpen() const { return m_isOpen; }
    /// Draws the help if it is shown.
    void draw(qel::Renderer& renderer, const qel::Rect& place);
    /// Scrolls, or hides the help after a tap.
    void handleTouches(qel::TouchState& touches);
    /// Scrolls, or hides the help.
    void handleKey(const std::string& key);

private:
    /// A line of the help; a heading has no effect.
    struct Row {
        qel::SmartPointer<qel::TextActor> input;
        qel::SmartPointer<qel::TextActor> effect;
    };
    using Rows = std::vector<Row>;

    void addRow(Rows& rows, std::string_view line) const;
    float placeTables(const qel::Rect& place) const;
    float placeRows(const Rows& rows, const qel::Rect& place) const;

    qelwidgets::Look m_look;
    Rows m_tables[2];
    qelwidgets::Scroll m_scroll;
    float m_pageHeight = 0;
    float m_dragged = 0; ///< pixels since the touch began
    bool m_isOpen = false;
};

} // namespace qelviewer
