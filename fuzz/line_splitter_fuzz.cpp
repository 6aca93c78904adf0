// Passes a text in pieces of any size through the splitter of lines, with each kind of line end, and, as a
// child's output over a pipe, through the packet reader. The lines must not depend on the pieces, and a
// trimmed log must account for every line. The first bytes select the sizes of the pieces.
#include <fuzz/require.h>
#include <qel/foundation/base/line_splitter.h>
#include <qel/foundation/log/log_backend.h>
#include <qel/foundation/log/message_stream.h>
#include <qel/platform/file_system.h>
#include <qel/process/process.h>
#include <qel/process/process_packet_reader.h>

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

using qel::LineEnd;
using qel::LineSplitter;
using qel::String;

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

constexpr size_t kAnyLength = size_t(1) << 20;

/// The lines of a text by the plainest code. A line that is longer than @p longest is replaced by "too long".
std::vector<String> plainLines(std::string_view text, LineEnd lineEnd, size_t longest = kAnyLength) {
    const char* const ends = lineEnd == LineEnd::LineFeedOrReturn ? "\r\n" : "\n";
    std::vector<String> lines;
    while (!text.empty()) {
        const size_t end = text.find_first_of(ends);
        std::string_view line = text.substr(0, end);
        text.remove_prefix(end == text.npos ? text.size() : end + 1);
        const bool isTooLong = line.size() > longest;
        if (lineEnd == LineEnd::LineFeedAfterOptionalReturn && line.ends_with('\r')) line.remove_suffix(1);
        lines.emplace_back(isTooLong ? "too long" : line);
    }
    return lines;
}

void takeLines(LineSplitter& splitter, std::vector<String>& lines) {
    std::string_view line;
    for (auto found = splitter.take(line); found != LineSplitter::Found::Nothing;
         found = splitter.take(line)) {
        lines.emplace_back(found == LineSplitter::Found::TooLong ? "too long" : line);
    }
}

void checkLines(std::string_view text, std::string_view sizes, const LineSplitter::Rules& rules) {
    LineSplitter splitter(rules);
    std::vector<String> lines;
    Pieces pieces(text, sizes, 1);
    for (std::string_view piece; pieces.next(piece);) {
        while (!piece.empty()) {
            const qel::ByteSpan room = splitter.room();
            require(room.size != 0);
            const size_t count = std::min(room.size, piece.size());
            std::copy_n(piece.begin(), count, room.data);
            splitter.append(count);
            piece.remove_prefix(count);
            takeLines(splitter, lines);
        }
    }
    if (std::string_view rest; splitter.takeRest(rest)) lines.emplace_back(rest);
    require(splitter.empty());
    require(lines == plainLines(text, rules.lineEnd, rules.longestLine));
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
    const std::string_view sizes = input.substr(0, kSizes);
    for (const LineEnd end :
         {LineEnd::LineFeed, LineEnd::LineFeedAfterOptionalReturn, LineEnd::LineFeedOrReturn}) {
        checkLines(text, sizes, {.lineEnd = end, .longestLine = kAnyLength});
        checkLines(text, sizes, {.lineEnd = end, .longestLine = 20, .firstCapacity = 8, .keptCapacity = 16});
    }
    checkReader(text, sizes, plainLines(text, LineEnd::LineFeedOrReturn));
    return 0;
}
