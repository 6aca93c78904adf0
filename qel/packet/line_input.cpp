#include <qel/packet/line_input_p.h>

#include <qel/foundation/log/message_stream.h>
#include <qel/platform/console.h>
#include <qel/platform/system_error.h>
#include <qel/platform/thread.h>

#include <chrono>
#include <string_view>
#include <utility>

namespace qel::internal {

namespace {

/// Once this number of lines, or bytes of them, is waiting, the helper thread has read ahead far enough.
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

void LineInput::waitForChange(unsigned timeoutMs) {
    MutexLock lock(m_mutex);
    const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(timeoutMs);
    while (m_lines.empty() && !m_hasEnded) {
        if (m_changed.wait_until(lock.standard(), end) == std::cv_status::timeout) return;
    }
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
    if (!m_thread.joinable()) m_thread = platform::startThread([this] { runThread(); });
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
    using Found = LineSplitter::Found;
    std::string_view text;
    Found found = m_splitter.take(text);
    for (; found != Found::Line; found = m_splitter.take(text)) {
        if (found == Found::TooLong) {
            logging::warning() << "line too long, dropped";
        } else if (!readMore()) {
            break;
        }
    }
    const bool isComplete = found == Found::Line;
    if (!isComplete) m_isExhausted = true;
    const bool hasLine = isComplete || m_splitter.takeRest(text);
    line.assign(text);
    return hasLine;
}

bool LineInput::readMore() {
    const ByteSpan room = m_splitter.room();
    size_t done = 0;
    platform::FileError error;
    do {
        error = m_input.read(room.data, room.size, done);
    } while (error == std::errc::resource_unavailable_try_again &&
             !platform::waitUntilReady(m_input, platform::Readiness::Reading));
    m_splitter.append(done);
    if (error) {
        logging::error() << "can't read the input: " << platform::errorText(error.value());
        m_hasFailed = true;
    }
    return done != 0;
}

} // namespace qel::internal
