// Look: the colours and sizes of desktop programs, from the stylesheet and the theme.
#pragma once

#include <qel/foundation/base/ivec.h>

namespace qelwidgets {

using Color = qel::IVec4<float>;

/// Returns the colour that the stylesheet states for a tag.
/// @param property, className  as in a stylesheet; @p className may be null.
/// @param fallback  returned if the stylesheet states none.
Color styleColor(const char* tag, const char* property, const char* className, const Color& fallback);

/// The colours and sizes that all widgets share. Sizes are in pixels.
struct Look {
    Color background;       ///< of the window
    Color text;             ///< of texts on the background and on cards
    Color faintText;        ///< of captions and hints
    Color bar;              ///< of the bar at the top
    Color card;             ///< of the panels of a page
    Color accent;           ///< of what is selected or drawn
    Color button;           ///< of buttons
    Color pressed;          ///< of buttons while they are pressed
    Color buttonText;       ///< of the labels of buttons
    Color field;            ///< of text fields
    Color line;             ///< of borders
    float space = 0;        ///< between elements and inside of cards
    float buttonHeight = 0; ///< the height of a button

    /// Returns the look of the current stylesheet and theme.
    static Look read();
};

} // namespace qelwidgets
