// Base 16, base 64 and CRC-32C compared with well-known libraries. The throughput counts bytes of plain data
// in both directions.
#include <qel/foundation/base/base_encoding.h>
#include <qel/foundation/base/crc32c.h>

#include <benchmark/benchmark.h>

#include <string>
#include <vector>

#if QEL_PEER_OPENSSL
#include <openssl/evp.h>
#endif
#if QEL_PEER_MODPBASE64
#include <modp_b16.h>
#include <modp_b64.h>
#endif
#if QEL_PEER_ISAL
#include <isa-l/crc.h>
#endif

namespace {

using qel::uint8;
using Bytes = std::vector<uint8>;

Bytes makeBytes(size_t n) {
    Bytes bytes(n);
    for (size_t i = 0; i < n; ++i) bytes[i] = static_cast<uint8>(i * 167 + (i >> 8) + 13);
    return bytes;
}

/// Plain data and both of its texts, of the size that the benchmark requests, with extra space for peers that
/// write a terminating zero.
struct Data {
    explicit Data(const benchmark::State& state)
        : plain(makeBytes(static_cast<size_t>(state.range(0)))),
          base16(2 * plain.size()),
          base64(qel::util::getBase64EncodedSize(plain.size(), true)),
          out(3 * plain.size() + 64) {
        qel::util::encodeBase16(base16.data(), plain.data(), plain.size());
        qel::util::encodeBase64(base64.data(), plain.data(), plain.size(), true);
    }

    char* textOut() { return reinterpret_cast<char*>(out.data()); }

    Bytes plain;
    Bytes base16;
    Bytes base64;
    Bytes out;
};

/// Runs one coder over the data after checking its result.
template <typename Coder>
void run(benchmark::State& state, const Bytes Data::*expected, Coder coder) {
    Data data(state);
    coder(data);
    if (!std::equal((data.*expected).begin(), (data.*expected).end(), data.out.begin())) {
        state.SkipWithError("wrong result");
        return;
    }
    for (auto _ : state) {
        coder(data);
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(state.iterations() * state.range(0));
}

template <typename Crc>
void runCrc(benchmark::State& state, Crc crc) {
    const Data data(state);
    if (crc(data.plain) != qel::util::crc32c(0, data.plain.data(), data.plain.size())) {
        state.SkipWithError("wrong result");
        return;
    }
    for (auto _ : state) benchmark::DoNotOptimize(crc(data.plain));
    state.SetBytesProcessed(state.iterations() * state.range(0));
}

template <typename Coder>
void add(const std::string& name, const Bytes Data::*expected, Coder coder) {
    for (const int64_t size : {24, 768, 48 * 1024, 6 * 1024 * 1024}) {
        benchmark::RegisterBenchmark(("Codecs/" + name).c_str(), [expected, coder](benchmark::State& state) {
            run(state, expected, coder);
        })->Arg(size);
    }
}

template <typename Crc>
void addCrc(const std::string& name, Crc crc) {
    for (const int64_t size : {48, 1024, 64 * 1024}) {
        benchmark::RegisterBenchmark(("Codecs/" + name).c_str(), [crc](benchmark::State& state) {
            runCrc(state, crc);
        })->Arg(size);
    }
}

void addOurs() {
    add("Base64Encode/qel", &Data::base64,
        [](Data& d) { qel::util::encodeBase64(d.out.data(), d.plain.data(), d.plain.size(), true); });
    add("Base64Decode/qel", &Data::plain,
        [](Data& d) { qel::util::decodeBase64(d.out.data(), d.base64.data(), d.base64.size()); });
    add("Base16Encode/qel", &Data::base16,
        [](Data& d) { qel::util::encodeBase16(d.out.data(), d.plain.data(), d.plain.size()); });
    add("Base16Decode/qel", &Data::plain,
        [](Data& d) { qel::util::decodeBase16(d.out.data(), d.base16.data(), d.base16.size()); });
    addCrc("Crc32c/qel", [](const Bytes& bytes) { return qel::util::crc32c(0, bytes.data(), bytes.size()); });
}

void addPeers() {
#if QEL_PEER_OPENSSL
    add("Base64Encode/openssl", &Data::base64,
        [](Data& d) { EVP_EncodeBlock(d.out.data(), d.plain.data(), static_cast<int>(d.plain.size())); });
    add("Base64Decode/openssl", &Data::plain,
        [](Data& d) { EVP_DecodeBlock(d.out.data(), d.base64.data(), static_cast<int>(d.base64.size())); });
#endif
#if QEL_PEER_MODPBASE64
    add("Base64Encode/modp", &Data::base64, [](Data& d) {
        modp_b64_encode(d.textOut(), reinterpret_cast<const char*>(d.plain.data()), d.plain.size());
    });
    add("Base64Decode/modp", &Data::plain, [](Data& d) {
        modp_b64_decode(d.textOut(), reinterpret_cast<const char*>(d.base64.data()), d.base64.size());
    });
    add("Base16Encode/modp", &Data::base16, [](Data& d) {
        modp_b16_encode(d.textOut(), reinterpret_cast<const char*>(d.plain.data()), d.plain.size());
    });
    add("Base16Decode/modp", &Data::plain, [](Data& d) {
        modp_b16_decode(d.textOut(), reinterpret_cast<const char*>(d.base16.data()), d.base16.size());
    });
#endif
#if QEL_PEER_ISAL
    addCrc("Crc32c/isal", [](const Bytes& bytes) {
        return crc32_iscsi(const_cast<uint8*>(bytes.data()), static_cast<int>(bytes.size()), 0);
    });
#endif
}

[[maybe_unused]] const bool g_isRegistered = [] {
    addOurs();
    addPeers();
    return true;
}();

} // namespace
