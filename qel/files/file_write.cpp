#include <qel/files/file.h>

#include <qel/files/whole_io_p.h>
#include <qel/foundation/base/buffer.h>
#include <qel/foundation/base/compression.h>
#include <qel/foundation/base/write_whole.h>
#include <qel/foundation/log/message_stream.h>

namespace qel {

using internal::FileError;
using internal::FileHandle;
using platform::OpenMode;

namespace {

// Failures are only logged: the results of the write functions report only whether the file was opened.
void writeAndClose(FileHandle& file, SmartCStr path, ConstByteSpan bytes) {
    FileError error = writeWhole(file, bytes.asText());
    if (const FileError closing = file.close(); !error) error = closing;
    if (!error) return;
    logging::error() << "cant write file '" << path.c_str() << "' of " << bytes.size << " bytes"
                     << internal::describe(error);
}

} // namespace

bool File::writeFile(SmartCStr path, ConstByteSpan bytes) {
    FileHandle file;
    if (openFile(file, path, OpenMode::CreateOrEmpty)) return false;
    writeAndClose(file, path, bytes);
    return true;
}

bool File::writeFileCompressed(SmartCStr path, ConstByteSpan bytes) {
    FileHandle file;
    if (openFile(file, path, OpenMode::CreateOrEmpty)) return false;
    Buffer frame;
    if (!util::compress(bytes, frame)) return false;
    writeAndClose(file, path, frame);
    return true;
}

} // namespace qel
