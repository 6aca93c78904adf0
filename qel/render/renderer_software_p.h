// The private parts of RendererSoftware.
#pragma once

#include <qel/render/command_list_p.h>
#include <qel/render/drawing_mode_p.h>
#include <qel/render/renderer_software.h>
#include <qel/render/texture_commands_p.h>

#include <utility>

namespace qel {

namespace internal {

/// The target and what is recorded for it.
struct RendererSoftwareData {
    SmartPointer<Image> target;
    Surface surface; ///< the target at the start of the frame
    CommandList commands;
    bool isInFrame = false;

    /// Returns the size of the target; in a frame that at its start.
    const IVec2<int>& targetSize() {
        if (!isInFrame) surface = Surface::of(target.get());
        return surface.size;
    }
};

/// What all draws of a texture need.
struct TextureDraw {
    Image* image = nullptr; ///< the texture's pixels
    IVec4<int> area;        ///< the pixels of the target that are drawn
    TexelGrid grid;
};

} // namespace internal

template <typename Command, typename... Args>
void RendererSoftware::record(Args&&... args) {
    recordWithTail<Command>(0, std::forward<Args>(args)...);
}

template <typename Command, typename... Args>
void RendererSoftware::recordWithTail(size_t tailBytes, Args&&... args) {
    m_data->commands.recordWithTail<Command>(tailBytes, std::forward<Args>(args)...);
    if (!m_data->isInFrame || m_data->commands.isFull() || internal::isPlainDrawing())
        RendererSoftware::flushInternal();
}

} // namespace qel
