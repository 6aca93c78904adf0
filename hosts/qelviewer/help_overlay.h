// HelpOverlay: the page with all keys and gestures.
#pragma once

#include <hosts/widgets/look.h>

#include <qel/foundation/base/rect.h>
#include <qel/foundation/base/smart_pointer.h>
#include <qel/text/engine/text_actor.h>

#include <string_view>
#include <vector>

namespace qel {
class Renderer;
} // namespace qel

namespace qelviewer {

/// Shows the help over everything: two translated texts, beside each other where they fit. A line
/// "INPUT|EFFECT" becomes a row of a table, another line a heading.
/// @threads main thread.
class HelpOverlay {
public:
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
    /// A line of the help; a heading has no effect.
    struct Row {
        qel::SmartPointer<qel::TextActor> input;
        qel::SmartPointer<qel::TextActor> effect;
    };
    using Rows = std::vector<Row>;

    void addRow(Rows& rows, std::string_view line) const;
    float drawRows(qel::Renderer& renderer, const Rows& rows, const qel::Rect& place) const;

    qelwidgets::Look m_look;
    Rows m_tables[2];
    bool m_isOpen = false;
};

} // namespace qelviewer
