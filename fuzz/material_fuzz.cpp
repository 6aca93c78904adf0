// Materials: JSON and Items of any form become materials or a documented failure. What was read survives an
// Item, and tables are built from it whatever the keys and values are.
#include <fuzz/require.h>
#include <qel/foundation/log/message_stream.h>
#include <qel/imaging/pixels/image.h>
#include <qel/store/core/item.h>
#include <qel/volume/volume_material.h>
#include <tests/support/idle_renderer_3d.h>

#include <bit>
#include <string_view>

using namespace qel;

namespace {

void check(VolumeMaterial& material, int steps) {
    const Item item = material.toItem();
    require(VolumeMaterial::fromItem(item).toItem().getBase16() == item.getBase16());
    for (const auto& [key, value] : material.getOpacityCurve()) material.getGradientCurve().evaluate(key);
    test::IdleRenderer3D renderer;
    Texture* lookup = nullptr;
    Texture* preintegration = nullptr;
    require(material.build(steps, &renderer) == material.isValid());
    require(material.getColorAlphaTextures(lookup, preintegration) == material.isValid());
    if (!material.isValid()) return;
    const Image& line = static_cast<TextureSoftware*>(lookup)->getImage();
    const Image& square = static_cast<TextureSoftware*>(preintegration)->getImage();
    require(square.getSize() == IVec2<int>(line.getWidth(), line.getWidth()));
    for (int i = 0; i < line.getWidth(); ++i)
        for (int c = 0; c < 4; ++c)
            require(line.getBytePointer()[i * 4 + c] == square.getBytePointer(i)[i * 4 + c]);
}

} // namespace

/// The first byte selects the form and the number of steps.
extern "C" int LLVMFuzzerTestOneInput(const uint8* data, size_t size) {
    logging::setConsoleWriter([](const logging::ConsoleLine&) {});
    if (size == 0) return 0;
    const int steps = data[0] >> 1;
    if (data[0] % 2 == 0) {
        const std::string_view text(reinterpret_cast<const char*>(data + 1), size - 1);
        for (VolumeMaterial& material : VolumeMaterial::fromJSON(String(text))) check(material, steps);
    } else {
        VolumeMaterial material = VolumeMaterial::fromItem(Item(Item::PlainMode, data + 1, size - 1));
        check(material, steps);
    }
    return 0;
}
