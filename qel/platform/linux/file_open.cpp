#include <qel/platform/linux/file_system_p.h>

#include <ext/stdio_filebuf.h>
#include <istream>

namespace qel::platform {

namespace {

FileError openId(FileHandle& file, const char* path, int flags, Links links, const FileHandle& base) {
    if (links == Links::Keep) flags |= O_NOFOLLOW;
    int id = -1;
    const FileError error = perform(Operation::Open, [&] {
        return id = ::openat(baseId(base), path, flags | O_CLOEXEC | O_NOCTTY, 0666);
    });
    if (!error) file = FileHandle(id);
    return error;
}

int flagsOf(OpenMode mode) {
    switch (mode) {
    case OpenMode::Read:
        return O_RDONLY | O_NONBLOCK;
    case OpenMode::Write:
        return O_WRONLY;
    case OpenMode::CreateOrEmpty:
        return O_WRONLY | O_CREAT | O_TRUNC;
    case OpenMode::CreateNew:
        return O_WRONLY | O_CREAT | O_EXCL;
    case OpenMode::Append:
        return O_WRONLY | O_CREAT | O_APPEND;
    }
    return O_RDONLY;
}

// The table of std::filebuf::open(); returns -1 for combinations that it refuses.
int flagsOf(std::ios_base::openmode mode) {
    using ios = std::ios_base;
    const auto use = mode & (ios::in | ios::out | ios::trunc | ios::app);
    if (use == ios::in) return O_RDONLY;
    if (use == ios::out || use == (ios::out | ios::trunc)) return O_WRONLY | O_CREAT | O_TRUNC;
    if (use == ios::app || use == (ios::out | ios::app)) return O_WRONLY | O_CREAT | O_APPEND;
    if (use == (ios::in | ios::out)) return O_RDWR;
    if (use == (ios::in | ios::out | ios::trunc)) return O_RDWR | O_CREAT | O_TRUNC;
    if (use == (ios::in | ios::app) || use == (ios::in | ios::out | ios::app))
        return O_RDWR | O_CREAT | O_APPEND;
    return -1;
}

/// The buffer of a standard stream; tests can make its transfers fail.
class DescriptorBuffer : public __gnu_cxx::stdio_filebuf<char> {
public:
    using stdio_filebuf::stdio_filebuf;

protected:
    int_type underflow() override {
        checkReading();
        return stdio_filebuf::underflow();
    }
    std::streamsize xsgetn(char* data, std::streamsize size) override {
        if (size > egptr() - gptr()) checkReading();
        return stdio_filebuf::xsgetn(data, size);
    }
    int_type overflow(int_type next) override {
        return forcedFault(Operation::Write) ? traits_type::eof() : stdio_filebuf::overflow(next);
    }
    std::streamsize xsputn(const char* data, std::streamsize size) override {
        if (size > epptr() - pptr() && forcedFault(Operation::Write)) return 0;
        return stdio_filebuf::xsputn(data, size);
    }

private:
    /// Fails as the base does.
    static void checkReading() {
        if (const FileError forced = forcedFault(Operation::Read))
            throw std::ios_base::failure("error reading the file", forced);
    }
};

// Children would inherit the descriptor of a std::fstream, so this class uses a descriptor of its own.
class DescriptorStream : public std::iostream {
public:
    DescriptorStream(int id, std::ios_base::openmode mode) : std::iostream(nullptr), m_buffer(id, mode) {
        rdbuf(&m_buffer);
    }

private:
    DescriptorBuffer m_buffer;
};

} // namespace

FileError openFile(FileHandle& file, const char* path, OpenMode mode, Links links, const FileHandle& base) {
    return openId(file, path, flagsOf(mode), links, base);
}

FileError openDirectory(FileHandle& directory, const char* path, Links links, const FileHandle& base) {
    return openId(directory, path, O_RDONLY | O_DIRECTORY, links, base);
}

std::FILE* openStandardFile(const char* path, const char* mode, FileError& error) {
    const std::string closingMode = std::string(mode) + "e";
    std::FILE* file = nullptr;
    error = perform(Operation::Open, [&] {
        file = std::fopen(path, closingMode.c_str());
        return file ? 0 : -1;
    });
    return file;
}

std::unique_ptr<std::iostream> openStandardStream(const char* path, std::ios_base::openmode mode,
                                                  FileError& error) {
    const int flags = flagsOf(mode);
    if (flags == -1) {
        error = {EINVAL, std::system_category()};
        return nullptr;
    }
    FileHandle file;
    error = openId(file, path, flags, Links::Follow, {});
    if (error) return nullptr;
    auto stream = std::make_unique<DescriptorStream>(file.release(), mode);
    if (mode & std::ios_base::ate) stream->seekg(0, std::ios_base::end);
    return stream;
}

} // namespace qel::platform
