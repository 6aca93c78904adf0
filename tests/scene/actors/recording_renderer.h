// A renderer that notes what is drawn.
#pragma once

#include <tests/support/idle_renderer_3d.h>

#include <algorithm>
#include <string>
#include <vector>

namespace qel::test {

/// Something that was drawn.
struct Drawn {
    std::string kind; ///< "rect", "texture", "line" or "triangle"
    Rect target;      ///< of a line: from the first point to the second
    IVec4<float> tint;
    Texture* texture = nullptr;
    int orientation = 0;
    Filter filter = Filter::Undefined;
    std::vector<IVec2<float>> points; ///< of a triangle
};

/// Notes operations, and is in a frame of 200 by 100 pixels from its construction.
class RecordingRenderer : public IdleRenderer3D {
public:
    RecordingRenderer() { start(); }

    void drawTextureInternal(Texture* texture, const Rect&, const Rect& target, int orientation) override {
        Drawn& d = add("texture", target);
        d.texture = texture;
        d.orientation = orientation;
        d.filter = texture->getFilter();
    }
    using IdleRenderer3D::drawRectInternal;
    using IdleRenderer3D::drawTextureInternal;
    void drawRectInternal(const Rect& rect) override { add("rect", rect); }
    void drawAALineInternal(const IVec2<float>& from, const IVec2<float>& to) override {
        add("line", {from, to});
    }
    void drawTriangleInternal(const IVec2<float>& a, const IVec2<float>& b, const IVec2<float>& c) override {
        add("triangle", {}).points = {a, b, c};
    }
    IVec2<int> getRenderTargetSize() override { return {200, 100}; }

    /// Draws an actor and returns what it drew.
    std::vector<Drawn> record(Actor& actor) {
        drawn.clear();
        draw(&actor);
        return drawn;
    }
    /// Draws an actor that draws one thing.
    Drawn recordOne(Actor& actor) {
        std::vector<Drawn> all = record(actor);
        all.resize(1);
        return all[0];
    }
    /// Returns the number of operations of a kind.
    auto count(const std::string& kind) const {
        return std::count_if(drawn.begin(), drawn.end(), [&](const Drawn& d) { return d.kind == kind; });
    }

    std::vector<Drawn> drawn;

private:
    Drawn& add(const std::string& kind, const Rect& target) {
        drawn.push_back({kind, target, getColor(), nullptr, 0, Filter::Undefined, {}});
        return drawn.back();
    }
};

} // namespace qel::test
