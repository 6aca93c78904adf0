#include <qel/render/renderer_software.h>

#include <qel/render/sprite.h>
#include <qel/text/engine/text_drawing_p.h>

#include <cmath>

namespace qel {

namespace {

/// Draws the glyphs of a page at @p origin, with one tint for each run of quads of the same colour.
void drawFragment(RendererSoftware& renderer, const TextActor::Fragment& fragment,
                  const IVec2<float>& origin) {
    const IVec2<int> size = fragment.page->getSize();
    Texture* const texture = fragment.page->getTexture(&renderer, size);
    if (texture == nullptr) return;
    if (!fragment.isColored) return renderer.drawTextureParts(texture, fragment.quads, origin);
    for (size_t i = 0, end = 0; i < fragment.quads.size(); i = end) {
        for (end = i; end < fragment.quads.size() && fragment.colors[end] == fragment.colors[i];) ++end;
        renderer.pushColor(internal::unpackedColor(fragment.colors[i]));
        renderer.drawTextureParts(texture, fragment.quads.subspan(i, end - i), origin);
        renderer.popColor();
    }
}

void drawLine(RendererSoftware& renderer, const TextActor& actor, const TextActor::Line& line) {
    const IVec2<float> origin(std::round(actor.getPosition().x + line.x),
                              std::round(actor.getPosition().y + line.y));
    for (size_t i = 0; i < line.fragmentCount; ++i)
        drawFragment(renderer, actor.getFragment(line.firstFragment + i), origin);
    for (const TextActor::Underline& underline : line.underlines) {
        renderer.pushColor(internal::unpackedColor(underline.color));
        renderer.drawRectInternal(internal::moved(underline.rect, origin));
        renderer.popColor();
    }
}

} // namespace

void RendererSoftware::drawTextActorInternal(TextActor* actor) {
    if (actor == nullptr) return;
    actor->update();
    const internal::TextBusy busy(*actor);
    Renderer& stacks = *m_stacks;
    if (actor->isSoftClipping())
        stacks.pushClip(
            internal::columns(stacks.getClip(), actor->getSoftClipLeft(), actor->getSoftClipRight()));
    for (size_t i = 0; i < actor->getLineCount(); ++i) {
        const TextActor::Line line = actor->getLine(i);
        if (line.isVisible) drawLine(*this, *actor, line);
    }
    if (actor->isSoftClipping()) stacks.popClip();
}

} // namespace qel
