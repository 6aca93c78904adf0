#include <qel/packet/line_input_p.h>

#include <qel/foundation/log/message_stream.h>
#include <qel/platform/console.h>

#include <algorithm>
#include <cstring>
#include <utility>

namespace qel::internal {

namespace {

constexpr size_t kReadSize = 65536;
/// With so many lines, or bytes of them, the helper thread has read ahead enough.
constexpr size_t kEnoughLines = 64;
constexpr size_t kEnoughBytes = size_t(16) << 20;

} // namespace

LineInput& LineInput::standardInput() {
    static LineInput* const input =
        new LineInput(platform::borrowStandardStream(platform::StandardStream::Input));
    return *input;
}

LineInput::~LineInput() {
    {
        const MutexLock lock(m_mutex);
        m_isStopping = true;
    }
    m_changed.notify_all();
    if (m_thread.joinable()) m_thread.join();
}

bool LineInput::hasEnded() {
    const MutexLock lock(m_mutex);
    return m_hasEnded && m_lines.empty();
}

bool LineInput::waitForLine(String& line) {
    MutexLock lock(m_mutex);
    if (m_thread.joinable()) {
        while (m_lines.empty() && !m_hasEnded) m_changed.wait(lock.standard());
        lock.unlock();
        return tryLine(line);
    }
    const bool hasLine = readLine(line);
    m_hasEnded = m_isExhausted;
    return hasLine;
}

bool LineInput::tryLine(String& line) {
    MutexLock lock(m_mutex);
    if (m_lines.empty()) return false;
    line = std::move(m_lines.front());
    m_lines.pop_front();
    m_waitingBytes -= line.size();
    lock.unlock();
    m_changed.notify_all();
    return true;
}

void LineInput::startThread() {
    if (!m_thread.joinable()) m_thread = std::thread([this] { runThread(); });
}

void LineInput::runThread() {
    while (!m_isExhausted) {
        String line;
        const bool hasLine = readLine(line);
        MutexLock lock(m_mutex);
        if (hasLine) {
            m_waitingBytes += line.size();
            m_lines.push_back(std::move(line));
        }
        m_hasEnded = m_isExhausted;
        m_changed.notify_all();
        while (hasReadEnoughLocked() && !m_isStopping) m_changed.wait(lock.standard());
        if (m_isStopping) return;
    }
}

bool LineInput::hasReadEnoughLocked() const {
    return m_lines.size() >= kEnoughLines || m_waitingBytes >= kEnoughBytes;
}

bool LineInput::readLine(String& line) {
    while (!findLine(line)) {
        if (readMore()) continue;
        m_isExhausted = true;
        const size_t rest = m_bytes.getSize() - m_begin;
        takeLine(line, rest);
        return rest != 0;
    }
    return true;
}

// Nothing is kept of a line that is too long, so memory stays within the limit.
bool LineInput::findLine(String& line) {
    while (m_scanned < m_bytes.getSize()) {
        const uint8* const bytes = m_bytes.getBytePointer();
        const void* const found = std::memchr(bytes + m_scanned, '\n', m_bytes.getSize() - m_scanned);
        m_scanned = found ? static_cast<size_t>(static_cast<const uint8*>(found) - bytes) : m_bytes.getSize();
        if (m_scanned - m_begin > kMaxLineSize) startDropping();
        if (m_isDropping) m_begin = m_scanned;
        if (!found) break;
        const bool isWhole = !std::exchange(m_isDropping, false);
        if (isWhole) takeLine(line, m_scanned - m_begin);
        m_begin = ++m_scanned;
        if (isWhole) return true;
    }
    return false;
}

void LineInput::startDropping() {
    if (!std::exchange(m_isDropping, true)) logging::warning() << "line too long, dropped";
}

void LineInput::takeLine(String& line, size_t size) {
    const char* const text = reinterpret_cast<const char*>(m_bytes.getBytePointer()) + m_begin;
    line.assign(text, size != 0 && text[size - 1] == '\r' ? size - 1 : size);
}

bool LineInput::readMore() {
    m_bytes.eraseFront(std::exchange(m_begin, 0));
    m_scanned = m_bytes.getSize();
    m_bytes.reserveAdditionally(kReadSize, std::max(kReadSize, m_bytes.getSize()));
    size_t done = 0;
    platform::FileError error;
    do {
        error = m_input.read(m_bytes.appendReserve().data, kReadSize, done);
    } while (error == std::errc::resource_unavailable_try_again &&
             !platform::waitUntilReady(m_input, platform::Readiness::Reading));
    m_bytes.appendCommit(done);
    return done != 0;
}

} // namespace qel::internal
