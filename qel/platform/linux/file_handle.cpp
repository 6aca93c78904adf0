#include <qel/platform/linux/file_system_p.h>

#include <climits>
#include <csignal>
#include <poll.h>
#include <unistd.h>
#include <utility>

namespace qel::platform {

namespace {

bool isOffset(std::uint64_t size) {
    return size <= static_cast<std::uint64_t>(INT64_MAX);
}

FileError tooLarge() {
    return {EFBIG, std::system_category()};
}

} // namespace

FileHandle& FileHandle::operator=(FileHandle&& other) noexcept {
    if (this != &other) {
        close();
        m_id = other.release();
    }
    return *this;
}

// The descriptor is closed whatever close() returns, so the call is never repeated.
FileError FileHandle::close() {
    if (m_id < 0) return {};
    const int result = ::close(release());
    FileError error = result == -1 && errno != EINTR ? lastFileError() : FileError();
    if (const FileError forced = forcedFault(Operation::Close)) error = forced;
    return error;
}

int FileHandle::release() {
    return std::exchange(m_id, -1);
}

FileError FileHandle::read(void* data, std::size_t size, std::size_t& done) {
    ssize_t count = 0;
    const FileError error = perform(Operation::Read, size, [&] { return count = ::read(m_id, data, size); });
    done = error ? 0 : static_cast<std::size_t>(count);
    return error;
}

FileError FileHandle::readAt(std::uint64_t offset, void* data, std::size_t size, std::size_t& done) const {
    done = 0;
    if (!isOffset(offset)) return {EINVAL, std::system_category()};
    ssize_t count = 0;
    const FileError error = perform(
        Operation::Read, size, [&] { return count = ::pread(m_id, data, size, static_cast<off_t>(offset)); });
    if (!error) done = static_cast<std::size_t>(count);
    return error;
}

FileError FileHandle::write(const void* data, std::size_t size, std::size_t& done) {
    ssize_t count = 0;
    const FileError error =
        perform(Operation::Write, size, [&] { return count = ::write(m_id, data, size); });
    done = error ? 0 : static_cast<std::size_t>(count);
    return error;
}

FileError waitUntilReady(const FileHandle& file, Readiness readiness) {
    pollfd descriptor{file.id(), static_cast<short>(readiness == Readiness::Reading ? POLLIN : POLLOUT), 0};
    return perform(Operation::Wait, [&descriptor] { return ::poll(&descriptor, 1, -1); });
}

void failOversizedWrites() {
    std::signal(SIGXFSZ, SIG_IGN);
}

FileError FileHandle::setSize(std::uint64_t size) {
    if (!isOffset(size)) return tooLarge();
    return perform(Operation::SetSize, [&] { return ::ftruncate(m_id, static_cast<off_t>(size)); });
}

FileError FileHandle::allocate(std::uint64_t size) {
    if (!isOffset(size)) return tooLarge();
    if (size == 0) return {};
    return perform(Operation::SetSize, [&] { return ::fallocate(m_id, 0, 0, static_cast<off_t>(size)); });
}

FileError FileHandle::sync() {
    return perform(Operation::Sync, [&] { return ::fsync(m_id); });
}

} // namespace qel::platform
