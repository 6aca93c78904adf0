// Labels: short texts that are drawn over pictures.
#pragma once

#include <hosts/widgets/look.h>

#include <qel/foundation/base/rect.h>
#include <qel/foundation/base/smart_pointer.h>
#include <qel/text/engine/text_actor.h>

#include <string>
#include <vector>

namespace qel {
class Renderer;
} // namespace qel

namespace qelviewer {

/// Darkens what is below a text.
inline constexpr qelwidgets::Color kBackdrop{0, 0, 0, 0.65f};

/// Draws texts with a shadow. The actors are kept from frame to frame, so that texts which stay the same are
/// laid out once. Each frame must begin with begin().
/// @threads main thread.
class Labels {
public:
    /// How a text is drawn.
    struct Style {
        qelwidgets::Color color{1, 1, 1, 1};           ///< of the text
        qel::TextAlign across = qel::TextAlign::Start; ///< in the place
        qel::TextAlign down = qel::TextAlign::Start;   ///< in the place
        qel::Font* font = nullptr;                     ///< null for the theme's small medium font
        bool hasBackdrop = false;                      ///< the place of the text is darkened first
    };

    /// Begins a frame.
    void begin() { m_used = 0; }
    /// Draws a text into @p place. @return the width of the text in pixels.
    float draw(qel::Renderer& renderer, const std::string& text, const qel::Rect& place, const Style& style);
    /// Returns the size of a text in pixels, which is the next to be drawn.
    qel::IVec2<float> measure(const std::string& text, const Style& style);
    /// Forgets all actors, because the theme has changed.
    void clear() { m_actors.clear(); }

private:
    qel::TextActor& prepare(const std::string& text, const Style& style);

    std::vector<qel::SmartPointer<qel::TextActor>> m_actors;
    size_t m_used = 0;
};

} // namespace qelviewer
