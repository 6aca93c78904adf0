#include "commands.h"
#include "input_file.h"
#include "output.h"
#include "pixels.h"

#include <qel/imaging/pixels/qr_code_generator.h>

namespace qelimage {

namespace {

constexpr unsigned kBorder = 4; // modules, as readers expect
constexpr int kModulePixels = 8;

/// Reads the text from standard input, without the line feed at its end.
bool readText(std::string& text) {
    InputFile file;
    if (const std::string problem = file.open("-"); !problem.empty()) {
        complain(problem);
        return false;
    }
    text = file.getContent().asText();
    if (text.ends_with('\n')) text.pop_back();
    return true;
}

} // namespace

int writeQrCode(const Options& options) {
    std::string text = options.arguments[1];
    const std::string& out = options.arguments[2];
    const auto encoding = findEncoding(out);
    if (!encoding || (text == "-" && !readText(text))) return kTrouble;
    if (text.find('\0') != text.npos) {
        complain("the text contains a zero byte");
        return kTrouble;
    }
    const qel::Image modules = qel::QRCodeGenerator::generate(text.c_str(), kBorder);
    if (!modules) {
        complain("the text does not fit into a QR code");
        return kTrouble;
    }
    return savePicture(enlarged(modules, kModulePixels), out, *encoding);
}

} // namespace qelimage
