// A renderer that notes what a text draws with it.
#pragma once

#include <qel/imaging/pixels/image.h>
#include <qel/render/renderer_software.h>
#include <qel/text/engine/text_actor.h>

#include <vector>

namespace qel::test {

/// A renderer that notes rectangles, and texts with the places of their visible lines.
class NotingRenderer : public RendererSoftware {
public:
    NotingRenderer() {
        image->initialize(BGRA8, {200, 100});
        setRenderTarget(image.get());
        start();
    }
    ~NotingRenderer() override { stop(); }

    void drawRectInternal(const Rect& rect) override { rects.push_back(rect); }
    void drawTextActorInternal(TextActor* text) override {
        softClips.push_back(text->isSoftClipping());
        for (size_t i = 0; i < text->getLineCount(); ++i)
            if (text->getLine(i).isVisible) lines.push_back(text->getLine(i).x);
    }

    SmartPointer<Image> image = makeObject<Image>();
    std::vector<Rect> rects;
    std::vector<bool> softClips;
    std::vector<float> lines; ///< the x of the visible lines
};

} // namespace qel::test
