#include <hosts/window/picture_file.h>

#include <hosts/shared/file_replacement.h>

#include <qel/foundation/base/buffer.h>
#include <qel/platform/system_error.h>

namespace qelwindow {

std::string writePicture(const qel::Image& picture, const std::string& path) {
    qel::Buffer bytes;
    if (!picture.saveToMemory(bytes, qel::Image::Encoding::Png)) return "cannot encode '" + path + "'";
    const auto error = qelhosts::replaceFile(path, bytes);
    return error ? "cannot write '" + path + "': " + qel::platform::errorText(error.value()) : std::string();
}

} // namespace qelwindow
