// StatusBar: the line below the panes.
#pragma once

#include "labels.h"

#include <hosts/widgets/look.h>

#include <string>

namespace qelviewer {

/// Shows a text about the voxel under the pointer on the left, and a message on the right. A message stays
/// until the next one; an error is shown alone if there is no room for both.
/// @threads main thread.
class StatusBar {
public:
    /// Takes over the theme.
    void restyle(const qelwidgets::Look& look);
    /// Sets the message. @param isError  true for the colour of errors.
    void setMessage(const std::string& message, bool isError);
    /// Removes the message if it is an error.
    void dismissError();
    /// Returns the message.
    const std::string& getMessage() const { return m_message; }
    /// Draws the line.
    void draw(qel::Renderer& renderer, const qel::Rect& place, const std::string& text);

private:
    qelwidgets::Look m_look;
    Labels m_labels;
    std::string m_message;
    bool m_isError = false;
};

} // namespace qelviewer
