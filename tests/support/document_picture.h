// Pictures of the documentation, which the tests draw.
#pragma once

#include <string>

namespace qel {
class Image;
}

namespace qel::test {

/// Fails the test unless docs/images/@p name.png has the colours of @p image, which is BGRA8; its alpha
/// does not count. Writes ours into the folder of temporary files then. With QEL_ACCEPT_PICTURES set, the
/// picture of the documentation is written first (tools/accept_pictures).
void expectDocumentPicture(const std::string& name, const Image& image);

} // namespace qel::test
