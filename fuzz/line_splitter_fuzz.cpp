// Passes a child's output in pieces of any size through the queue that splits it into lines and, over a pipe,
// through the packet reader. The lines must not depend on the pieces, and a trimmed log must account for
// every line. The first bytes select the sizes of the pieces.
#include <qel/foundation/log/log_backend.h>
#include <qel/foundation/log/message_stream.h>
#include <qel/platform/file_system.h>
#include <qel/process/process.h>
#include <qel/process/process_packet_reader.h>
#include <qel/process/stream_queues_p.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>
#include <vector>

#include <fcntl.h>
#include <unistd.h>

namespace {

using qel::String;

void require(bool holds) {
    if (!holds) std::abort();
}

/// A process whose output is a pipe that the test writes to.
class Wire : public qel::Process {
public:
    Wire() {
        disableSmartPointers();
        int ends[2];
        require(pipe2(ends, O_NONBLOCK) == 0);
        m_far = qel::platform::FileHandle(ends[1]);
        connect({}, qel::platform::FileHandle(ends[0]), {});
    }

    void send(std::string_view bytes) {
        size_t done = 0;
        require(!m_far.write(bytes.data(), bytes.size(), done) && done == bytes.size());
    }

private:
    qel::platform::FileHandle m_far;
};

/// Cuts text into pieces whose sizes repeat those that the input states.
class Pieces {
public:
    Pieces(std::string_view text, std::string_view sizes, size_t factor)
        : m_text(text), m_sizes(sizes), m_factor(factor) {}
    bool next(std::string_view& piece) {
        const size_t size = 1 + m_factor * static_cast<uint8_t>(m_sizes[m_count++ % m_sizes.size()]);
        piece = m_text.substr(0, size);
        m_text.remove_prefix(piece.size());
        return !piece.empty();
    }

private:
    std::string_view m_text;
    std::string_view m_sizes;
    size_t m_factor;
    size_t m_count = 0;
};

std::vector<String> plainLines(std::string_view text) {
    std::vector<String> lines;
    while (!text.empty()) {
        const size_t end = text.find_first_of("\r\n");
        lines.emplace_back(text.substr(0, end));
        text.remove_prefix(end == text.npos ? text.size() : end + 1);
    }
    return lines;
}

void checkLines(std::string_view text, std::string_view sizes, const std::vector<String>& expected) {
    qel::internal::LineQueue queue;
    std::vector<String> lines;
    String line;
    Pieces pieces(text, sizes, 1);
    for (std::string_view piece; pieces.next(piece);) {
        const qel::ByteSpan room = queue.room();
        require(room.size >= piece.size());
        std::copy(piece.begin(), piece.end(), room.data);
        queue.append(piece.size());
        while (queue.takeLine(line)) lines.push_back(line);
    }
    while (queue.takeRest(line)) lines.push_back(line);
    require(queue.empty() && lines == expected);
}

size_t g_logged = 0;
qel::uint64 g_trimmed = 0;

void countLine(const qel::logging::ConsoleLine& line) {
    const size_t trimmed = line.text.find("... trimmed ");
    const bool isTotal = trimmed != line.text.npos && !line.text.ends_with("info/verbose lines ...");
    if (line.text.find("[PID:") == line.text.npos || line.text.ends_with("too much log output")) return;
    if (isTotal) g_trimmed = std::strtoull(std::string(line.text.substr(trimmed + 12)).c_str(), nullptr, 10);
    g_logged += trimmed == line.text.npos;
}

/// Requires that every line is a packet, is logged, or is counted as trimmed.
void checkReader(std::string_view text, std::string_view sizes, const std::vector<String>& expected) {
    const auto isLine = [](const String& line) { return !line.empty() && !line.contains("... trimmed "); };
    if (std::any_of(expected.begin(), expected.end(), [](const String& line) {
            return line.contains("... trimmed ") || line.contains("[PID:") || line.find('\0') != line.npos ||
                   line.contains("too much log output");
        }))
        return;
    size_t packets = 0;
    g_logged = 0;
    g_trimmed = 0;
    {
        Wire wire;
        wire.getPacketReader()->enableTrimmedLog();
        Pieces pieces(text, sizes, 16); // each costs several calls of the system
        for (std::string_view piece; pieces.next(piece);) {
            wire.send(piece);
            while (wire.getPacketReader()->read()) ++packets;
        }
        wire.send("\n");
        while (wire.getPacketReader()->read()) ++packets;
    }
    const auto count = std::count_if(expected.begin(), expected.end(), isLine);
    require(packets + g_logged + g_trimmed == static_cast<size_t>(count));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    constexpr size_t kSizes = 4;
    if (size < kSizes) return 0;
    static const bool isSetUp = [] {
        qel::logging::setConsoleWriter(&countLine);
        return true;
    }();
    require(isSetUp);
    const std::string_view input(reinterpret_cast<const char*>(data), size);
    const std::string_view text = input.substr(kSizes);
    const std::vector<String> expected = plainLines(text);
    checkLines(text, input.substr(0, kSizes), expected);
    checkReader(text, input.substr(0, kSizes), expected);
    return 0;
}
