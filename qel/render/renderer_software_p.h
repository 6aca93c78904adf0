// The private parts of RendererSoftware.
#pragma once

#include <qel/render/command_list_p.h>
#include <qel/render/drawing_mode_p.h>
#include <qel/render/renderer_software.h>
#include <qel/render/texture_commands_p.h>

#include <utility>

namespace qel {

struct RendererSoftware::State {
    SmartPointer<Image> target;
    internal::Surface surface; ///< the target at the start of the frame
    internal::CommandList commands;
    bool isInFrame = false;
};

/// What all draws of a texture need.
struct RendererSoftware::TextureDraw {
    SmartPointer<Image> image; ///< the texture's pixels
    IVec4<int> area;           ///< the pixels of the target that are drawn
    internal::TexelGrid grid;
};

template <typename Command, typename... Args>
void RendererSoftware::record(Args&&... args) {
    m_state->commands.record<Command>(std::forward<Args>(args)...);
    if (!m_state->isInFrame || m_state->commands.isFull() || internal::isPlainDrawing())
        RendererSoftware::flushInternal();
}

} // namespace qel
