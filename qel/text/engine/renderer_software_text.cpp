#include <qel/render/renderer_software.h>

#include <qel/render/sprite.h>
#include <qel/text/engine/text_drawing_p.h>

#include <cmath>

namespace qel {

namespace {

/// Draws texts on @p target, with the stacks and textures of another renderer, which may be the same.
class TextDrawing {
public:
    TextDrawing(RendererSoftware& target, Renderer& stacks) : m_target(target), m_stacks(stacks) {}

    void draw(const TextActor& actor) {
        if (actor.isSoftClipping())
            m_stacks.pushClip(
                internal::columns(m_stacks.getClip(), actor.getSoftClipLeft(), actor.getSoftClipRight()));
        for (size_t i = 0; i < actor.getLineCount(); ++i) {
            const TextActor::Line line = actor.getLine(i);
            if (line.isVisible) drawLine(actor, line);
        }
        if (actor.isSoftClipping()) m_stacks.popClip();
    }

private:
    void drawLine(const TextActor& actor, const TextActor::Line& line) {
        const IVec2<float>& position = actor.getPosition();
        const IVec2<float> origin(std::round(position.x + line.x), std::round(position.y + line.y));
        for (size_t i = 0; i < line.fragmentCount; ++i)
            drawFragment(actor.getFragment(line.firstFragment + i), origin);
        for (const TextActor::Underline& underline : line.underlines) {
            m_stacks.pushColor(internal::unpackedColor(underline.color));
            m_target.drawRectInternal(internal::moved(underline.rect, origin));
            m_stacks.popColor();
        }
    }

    /// Draws the glyphs of a page, with one tint for each run of quads of the same colour.
    void drawFragment(const TextActor::Fragment& fragment, const IVec2<float>& origin) {
        Texture* const texture = fragment.page->getTexture(&m_stacks, IVec2<int>(fragment.page->getSize()));
        if (texture == nullptr) return;
        if (!fragment.isColored) return m_target.drawTextureParts(texture, fragment.quads, origin);
        for (size_t i = 0, end = 0; i < fragment.quads.size(); i = end) {
            while (end < fragment.quads.size() && fragment.colors[end] == fragment.colors[i]) ++end;
            m_stacks.pushColor(internal::unpackedColor(fragment.colors[i]));
            m_target.drawTextureParts(texture, fragment.quads.subspan(i, end - i), origin);
            m_stacks.popColor();
        }
    }

    RendererSoftware& m_target;
    Renderer& m_stacks;
};

} // namespace

void RendererSoftware::drawTextActorInternal(TextActor* actor) {
    if (actor == nullptr) return;
    actor->update();
    const internal::TextBusy busy(*actor);
    TextDrawing(*this, *m_stacks).draw(*actor);
}

} // namespace qel
