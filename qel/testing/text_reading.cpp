#include <qel/testing/text_reading.h>

#include <qel/text/engine/text_actor.h>

namespace qel::seams {

void readTokens(TextActor& actor) {
    actor.parseToTokens();
    actor.reorderTokens();
}

} // namespace qel::seams
