// Drawing: random targets, textures and operations. Nothing is written outside the clip, and the vector
// functions draw what the plain ones do.
#include <fuzz/drawn_bytes.h>
#include <tests/render/random_drawing.h>

#include <cstdlib>

using namespace qel;

extern "C" int LLVMFuzzerTestOneInput(const uint8* data, size_t size) {
    using Drawing = test::RandomDrawing<DrawnBytes>;
    const DrawnBytes bytes(data, size < 4096 ? size : 4096);
    const test::DrawnFrame plain = Drawing::frame(bytes, seams::DrawingMode::Plain);
    if (plain.strayBytes() > 0) std::abort();
    if (Drawing::frame(bytes, seams::DrawingMode::Inline).memory != plain.memory) std::abort();
    return 0;
}
