// QRCodeGenerator: texts as pictures of QR codes.
#pragma once

#include <qel/foundation/base/object.h>
#include <qel/imaging/pixels/image.h>
#include <qel/platform/api.h>

namespace qel {

/// Draws QR codes; it holds no state. @threads any thread.
class QEL_API QRCodeGenerator : public Object {
    QEL_CLASS(QRCodeGenerator, Object)

public:
    /// Draws a UInt8 image with one pixel for each module: 0 for a dark one, 255 for a light one and the
    /// border. Errors are corrected at the medium level, or a higher one that needs no more room.
    /// @param border  modules of border on each side.
    /// @errors logs an error and returns an uninitialised image for a null text, a text that does not fit, or
    /// a side of more than 32,767 pixels.
    static Image generate(const char* text, unsigned border);

    /// Fills the script class @p cls. Defined in script/image_binding.cpp.
    static void bindSqVM(qelSq::Object* cls);
};

} // namespace qel
