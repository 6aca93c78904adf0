#include <qel/platform/linux/crash_modules_p.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <string_view>

#include <elf.h>
#include <fcntl.h>
#include <sys/uio.h>
#include <unistd.h>

namespace qel::platform {

namespace {

/// A file mapped into memory. Its mappings are adjacent; code is one of them.
struct Module {
    std::uint64_t begin = 0;
    std::uint64_t end = 0;
    std::uint64_t codeBegin = 0;
    std::uint64_t codeEnd = 0;
    std::size_t path = 0; // offset in g_paths
    std::size_t pathSize = 0;

    std::string_view name() const;
    bool hasCode() const { return codeEnd != 0; }
};

constexpr std::size_t kMostModules = 256;
constexpr std::size_t kPathBytes = 32 * 1024;

// Static, because the handler has no heap and little stack.
std::array<Module, kMostModules> g_modules;
std::size_t g_moduleCount = 0;
std::array<char, kPathBytes> g_paths;
std::size_t g_pathSize = 0;

std::string_view Module::name() const {
    return {g_paths.data() + path, pathSize};
}

/// Reads /proc/self/maps line by line.
class MapsReader {
public:
    MapsReader() : m_descriptor(open("/proc/self/maps", O_RDONLY | O_CLOEXEC)) {}
    ~MapsReader() {
        if (m_descriptor >= 0) close(m_descriptor);
    }
    MapsReader(const MapsReader&) = delete;
    MapsReader& operator=(const MapsReader&) = delete;

    /// Reads the next line without its end; a line that does not fit the buffer is cut. @return false at the
    /// end.
    bool next(std::string_view& line) {
        m_lineSize = 0;
        char c = 0;
        while (take(c)) {
            if (c == '\n') {
                line = {m_line.data(), m_lineSize};
                return true;
            }
            if (m_lineSize < m_line.size()) m_line[m_lineSize++] = c;
        }
        return false;
    }

private:
    bool take(char& c) {
        if (m_at == m_size && !fill()) return false;
        c = m_buffer[m_at++];
        return true;
    }

    bool fill() {
        ssize_t count = 0;
        do {
            count = m_descriptor < 0 ? 0 : read(m_descriptor, m_buffer.data(), m_buffer.size());
        } while (count < 0 && errno == EINTR);
        m_at = 0;
        m_size = count > 0 ? static_cast<std::size_t>(count) : 0;
        return m_size != 0;
    }

    int m_descriptor;
    std::size_t m_at = 0;
    std::size_t m_size = 0;
    std::size_t m_lineSize = 0;
    std::array<char, 1024> m_buffer;
    std::array<char, 2048> m_line;
};

/// Removes a hexadecimal number and the character after it from the front of @p text. @return the number.
std::uint64_t takeHex(std::string_view& text) {
    constexpr std::string_view kDigits = "0123456789abcdef";
    std::uint64_t number = 0;
    while (!text.empty()) {
        const std::size_t digit = kDigits.find(text.front());
        text.remove_prefix(1);
        if (digit == std::string_view::npos) break;
        number = number << 4 | digit;
    }
    return number;
}

/// Adds an entry for a new module. @return null if the tables are full.
Module* addModule(std::uint64_t begin, std::string_view path) {
    if (g_moduleCount == kMostModules || path.size() > kPathBytes - g_pathSize) return nullptr;
    std::memcpy(g_paths.data() + g_pathSize, path.data(), path.size());
    Module& module = g_modules[g_moduleCount++];
    module = {begin, begin, 0, 0, g_pathSize, path.size()};
    g_pathSize += path.size();
    return &module;
}

/// Parses a line of the form "begin-end rwxp offset device inode   path".
void addMapping(std::string_view line) {
    std::string_view rest = line;
    const std::uint64_t begin = takeHex(rest);
    const std::uint64_t end = takeHex(rest);
    const bool isExecutable = rest.size() > 2 && rest[2] == 'x';
    const std::size_t path = rest.find_first_of("/[");
    if (path == std::string_view::npos) return;
    rest.remove_prefix(path);
    if (rest.front() == '[' && rest != "[vdso]") return;
    Module* module = g_moduleCount > 0 ? &g_modules[g_moduleCount - 1] : nullptr;
    if (!module || module->name() != rest) module = addModule(begin, rest);
    if (!module) return;
    module->end = end;
    if (!isExecutable) return;
    if (!module->hasCode()) module->codeBegin = begin;
    module->codeEnd = end;
}

const Module* moduleOf(std::uint64_t address) {
    for (std::size_t i = 0; i < g_moduleCount; ++i) {
        const Module& module = g_modules[i];
        if (module.hasCode() && address >= module.begin && address < module.end) return &module;
    }
    return nullptr;
}

/// Writes the build id contained in the notes at @p address.
bool writeBuildIdNote(CrashWriter& out, std::uint64_t address, std::uint64_t size) {
    constexpr std::uint64_t kPadding = 4;
    const auto padded = [](std::uint64_t bytes) { return (bytes + kPadding - 1) / kPadding * kPadding; };
    Elf64_Nhdr note;
    for (std::uint64_t at = 0; at + sizeof note <= size;) {
        if (!readMemory(address + at, &note, sizeof note)) return false;
        const std::uint64_t content = address + at + sizeof note + padded(note.n_namesz);
        std::array<unsigned char, 32> id;
        const std::size_t idSize = std::min<std::size_t>(note.n_descsz, id.size());
        if (note.n_type == NT_GNU_BUILD_ID && readMemory(content, id.data(), idSize)) {
            for (std::size_t i = 0; i < idSize; ++i) {
                const char digits[] = {"0123456789abcdef"[id[i] >> 4], "0123456789abcdef"[id[i] & 15]};
                out.text({digits, 2});
            }
            return true;
        }
        at += sizeof note + padded(note.n_namesz) + padded(note.n_descsz);
    }
    return false;
}

/// Writes the build id of @p module. Its program headers lie in its first mapping, at the offset in its file
/// header.
void writeBuildId(CrashWriter& out, const Module& module) {
    Elf64_Ehdr header;
    if (!readMemory(module.begin, &header, sizeof header)) return;
    if (std::memcmp(header.e_ident, ELFMAG, SELFMAG) != 0) return;
    const std::uint64_t bias = header.e_type == ET_DYN ? module.begin : 0;
    for (unsigned i = 0; i < header.e_phnum; ++i) {
        Elf64_Phdr segment;
        const std::uint64_t address = module.begin + header.e_phoff + i * sizeof segment;
        if (!readMemory(address, &segment, sizeof segment)) return;
        if (segment.p_type != PT_NOTE) continue;
        if (writeBuildIdNote(out, bias + segment.p_vaddr, segment.p_memsz)) return;
    }
}

} // namespace

bool readMemory(std::uint64_t address, void* target, std::size_t size) {
    const iovec local{target, size};
    const iovec remote{reinterpret_cast<void*>(address), size};
    return process_vm_readv(getpid(), &local, 1, &remote, 1, 0) == static_cast<ssize_t>(size);
}

void readModules() {
    g_moduleCount = 0;
    g_pathSize = 0;
    MapsReader maps;
    std::string_view line;
    while (maps.next(line)) addMapping(line);
}

bool isCode(std::uint64_t address) {
    const Module* module = moduleOf(address);
    return module && address >= module->codeBegin && address < module->codeEnd;
}

void writeModules(CrashWriter& out) {
    for (std::size_t i = 0; i < g_moduleCount; ++i) {
        const Module& module = g_modules[i];
        if (!module.hasCode()) continue;
        out.text("  ").hex(module.begin).text("-").hex(module.end).text(" ");
        writeBuildId(out, module);
        out.text(" ").line(module.name()).text("\n");
    }
}

void writeCodeAddress(CrashWriter& out, std::uint64_t address) {
    const Module* module = moduleOf(address);
    if (!module) {
        out.hex(address);
        return;
    }
    out.line(module->name()).text("+").hex(address - module->begin);
}

} // namespace qel::platform
