// Writes bytes as an array in C source code.
#pragma once

#include <qel/foundation/base/byte_consumer.h>
#include <qel/foundation/base/object.h>
#include <qel/foundation/base/string.h>
#include <qel/foundation/base/types.h>
#include <qel/platform/api.h>

#include <istream>
#include <memory>

namespace qel {

/// A sink that writes the bytes it receives to a source file: the array "table_data" and, at close(), its
/// "table_size". Lines have at most 80 characters.
/// @errors  if the file cannot be opened, the constructor logs it and nothing is written; close() logs a file
/// that could not be written.
/// @threads an object is used by one thread at a time.
class QEL_API HexSourceWriter : public Object, public ByteConsumer {
    QEL_CLASS(HexSourceWriter, Object)

public:
    /// Creates or empties the file and begins the array.
    explicit HexSourceWriter(const char* path);

    /// Adds bytes to the array; their type is ignored.
    void process(StreamType type, const uint8* data, unsigned size) override;
    /// Ends the array, adds its size and closes the file; later bytes are dropped.
    void close();

private:
    void write(uint8 byte);

    std::unique_ptr<std::iostream> m_output;
    String m_path;
    uint32 m_count = 0;
    uint32 m_column = 0;
    bool m_first = true;
};

} // namespace qel
