#include <qel/platform/linux/crash_stack_p.h>

#include <qel/platform/linux/crash_modules_p.h>

#include <array>

#include <ucontext.h>

namespace qel::platform {

namespace {

struct Registers {
    std::uint64_t instruction;
    std::uint64_t stack;
    std::uint64_t frame;
};

#if defined(__x86_64__)

constexpr std::array<const char*, 17> kRegisterNames{"r8",  "r9",  "r10", "r11", "r12", "r13",
                                                     "r14", "r15", "rdi", "rsi", "rbp", "rbx",
                                                     "rdx", "rax", "rcx", "rsp", "rip"};

std::uint64_t registerAt(const void* context, std::size_t index) {
    return static_cast<std::uint64_t>(static_cast<const ucontext_t*>(context)->uc_mcontext.gregs[index]);
}

std::size_t registerCount() {
    return kRegisterNames.size();
}

const char* registerName(std::size_t index) {
    return kRegisterNames[index];
}

Registers registersOf(const void* context) {
    return {registerAt(context, REG_RIP), registerAt(context, REG_RSP), registerAt(context, REG_RBP)};
}

/// Returns true if a call instruction ends at @p address: the direct form (E8 and four bytes) or one through
/// a register or memory (FF with 2 in the middle bits of the next byte, and up to five more). Intel SDM,
/// volume 2, CALL.
bool isBehindCall(std::uint64_t address) {
    constexpr std::size_t kLongest = 7;
    std::array<unsigned char, kLongest> code;
    if (!readMemory(address - kLongest, code.data(), kLongest)) return false;
    if (code[kLongest - 5] == 0xE8) return true;
    for (const std::size_t length : {2u, 3u, 4u, 6u, 7u}) {
        const std::size_t start = kLongest - length;
        if (code[start] == 0xFF && (code[start + 1] >> 3 & 7) == 2) return true;
    }
    return false;
}

#else // other processors get a dump without registers and stack

std::uint64_t registerAt(const void*, std::size_t) {
    return 0;
}

std::size_t registerCount() {
    return 0;
}

const char* registerName(std::size_t) {
    return "";
}

Registers registersOf(const void*) {
    return {};
}

bool isBehindCall(std::uint64_t) {
    return false;
}

#endif

void writeFrame(CrashWriter& out, int number, std::uint64_t address) {
    out.text("  #").decimal(number).text(" ");
    writeCodeAddress(out, address);
    out.text("\n");
}

} // namespace

void writeRegisters(CrashWriter& out, const void* context) {
    for (std::size_t i = 0; i < registerCount(); ++i) {
        out.text("  ").cstr(registerName(i)).text(" ").hex(registerAt(context, i)).text("\n");
    }
}

void writeCallChain(CrashWriter& out, const void* context) {
    constexpr int kMostFrames = 256;
    const Registers registers = registersOf(context);
    writeFrame(out, 0, registers.instruction);
    std::uint64_t frame = registers.frame;
    for (int number = 1; number < kMostFrames; ++number) {
        std::array<std::uint64_t, 2> saved; // the caller's frame and the return address
        if (!readMemory(frame, saved.data(), sizeof saved) || !isCode(saved[1] - 1)) return;
        writeFrame(out, number, saved[1] - 1);
        if (saved[0] <= frame) return; // stacks grow down: callers have higher addresses
        frame = saved[0];
    }
}

void writeStackScan(CrashWriter& out, const void* context) {
    constexpr std::uint64_t kWords = 8192;
    constexpr int kMostFound = 128;
    std::uint64_t address = registersOf(context).stack & ~std::uint64_t{7};
    int found = 0;
    for (std::uint64_t i = 0; i < kWords && found < kMostFound; ++i, address += sizeof address) {
        std::uint64_t word = 0;
        if (!readMemory(address, &word, sizeof word)) return;
        if (isCode(word - 1) && isBehindCall(word)) writeFrame(out, ++found, word - 1);
    }
}

} // namespace qel::platform
