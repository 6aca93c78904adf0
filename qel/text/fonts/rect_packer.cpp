#include <qel/text/fonts/rect_packer_p.h>

#include <array>

// The implementation is in the header. Its assertions would end the program, and pack() never violates them.
#define STBRP_STATIC
#define STBRP_ASSERT(condition) static_cast<void>(condition)
#define STB_RECT_PACK_IMPLEMENTATION
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wunused-function"
#pragma GCC diagnostic ignored "-Wunused-parameter"
#include <stb/stb_rect_pack.h>
#pragma GCC diagnostic pop

namespace qel::internal {

namespace {

constexpr int kNodeCount = 4096;

} // namespace

// The context points into itself and to the nodes, so it never moves.
struct RectPacker::State {
    stbrp_context context{};
    std::array<stbrp_node, kNodeCount> nodes{};
};

RectPacker::RectPacker(int size) : m_state(std::make_unique<State>()) {
    stbrp_init_target(&m_state->context, size, size, m_state->nodes.data(), kNodeCount);
}

RectPacker::~RectPacker() = default;

bool RectPacker::pack(const IVec2<int>& size, IVec2<int>& position) {
    if (size.x > m_state->context.width || size.y > m_state->context.height) return false;
    stbrp_rect rect{};
    rect.w = size.x;
    rect.h = size.y;
    stbrp_pack_rects(&m_state->context, &rect, 1);
    if (rect.was_packed == 0) return false;
    position = {rect.x, rect.y};
    m_isUsed = m_isUsed || (size.x > 0 && size.y > 0);
    return true;
}

} // namespace qel::internal
