#include <qel/render/renderer_software.h>

namespace qel {

// There are no text actors yet that could be passed.
void RendererSoftware::drawTextActorInternal(TextActor*) {}

} // namespace qel
