/*
 * Base64 beside the encoder and decoder of OpenSSL (libcrypto, Debian package libssl-dev), and the frame
 * checksum beside memcpy, each on the same data in the same run. Both directions of Base64 are counted in
 * bytes read.
 */
#include <benchmark/benchmark.h>
#include <openssl/evp.h>

#include <cstdint>
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "vko_sat_utils/packet.h"
#include "vko_utils/base64.h"

namespace {

/**
 * Random bytes without "=" (0x3D). The decoder looks for that one in the output buffer, so that what one
 * round leaves there is, for the next, as good as a cleared buffer.
 */
std::vector<unsigned char> RandomBytes(size_t size) {
    std::mt19937 random(20210114);
    std::vector<unsigned char> bytes(size);
    for (unsigned char& byte : bytes) {
        byte = static_cast<unsigned char>(random());
        byte = byte == '=' ? '<' : byte;
    }
    return bytes;
}

/** The encoded form of as many random bytes; a multiple of 3 of them, so that nothing is padded. */
std::vector<unsigned char> EncodedBytes(size_t size) {
    const std::vector<unsigned char> bytes = RandomBytes(size / 3 * 3);
    std::vector<unsigned char> encoded(bytes.size() / 3 * 4 + 1);
    EVP_EncodeBlock(encoded.data(), bytes.data(), static_cast<int>(bytes.size()));
    encoded.pop_back();
    return encoded;
}

void CountBytes(benchmark::State& state, size_t size) {
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * static_cast<int64_t>(size));
}

void EncodeOurs(benchmark::State& state) {
    const std::vector<unsigned char> bytes = RandomBytes(static_cast<size_t>(state.range(0)));
    std::vector<unsigned char> encoded((bytes.size() + 2) / 3 * 4 + 1);
    uint64_t length = 0;
    for (auto _ : state) {
        VKO_Base64Encoder(bytes.data(), bytes.size(), encoded.data(), &length);
        benchmark::DoNotOptimize(encoded.data());
        benchmark::ClobberMemory();
    }
    CountBytes(state, bytes.size());
}

void EncodeOpenssl(benchmark::State& state) {
    const std::vector<unsigned char> bytes = RandomBytes(static_cast<size_t>(state.range(0)));
    std::vector<unsigned char> encoded((bytes.size() + 2) / 3 * 4 + 1);
    for (auto _ : state) {
        EVP_EncodeBlock(encoded.data(), bytes.data(), static_cast<int>(bytes.size()));
        benchmark::DoNotOptimize(encoded.data());
        benchmark::ClobberMemory();
    }
    CountBytes(state, bytes.size());
}

void DecodeOurs(benchmark::State& state) {
    const std::vector<unsigned char> encoded = EncodedBytes(static_cast<size_t>(state.range(0)));
    std::vector<unsigned char> bytes(encoded.size() / 4 * 3 + 1);
    uint64_t length = 0;
    for (auto _ : state) {
        VKO_Base64Decoder(encoded.data(), encoded.size(), bytes.data(), &length);
        benchmark::DoNotOptimize(bytes.data());
        benchmark::ClobberMemory();
    }
    bytes.resize(length);
    if (bytes != RandomBytes(length)) {
        state.SkipWithError("decoded something else");
    }
    CountBytes(state, encoded.size());
}

/** The slowest case: every byte that the decoder finds in the output buffer is "=". Setting them is not
 * timed. */
void DecodeOursPaddedOutput(benchmark::State& state) {
    const std::vector<unsigned char> encoded = EncodedBytes(static_cast<size_t>(state.range(0)));
    std::vector<unsigned char> bytes(encoded.size() / 4 * 3 + 1);
    uint64_t length = 0;
    for (auto _ : state) {
        state.PauseTiming();
        memset(bytes.data(), '=', bytes.size());
        state.ResumeTiming();
        VKO_Base64Decoder(encoded.data(), encoded.size(), bytes.data(), &length);
        benchmark::DoNotOptimize(bytes.data());
        benchmark::ClobberMemory();
    }
    CountBytes(state, encoded.size());
}

void DecodeOpenssl(benchmark::State& state) {
    const std::vector<unsigned char> encoded = EncodedBytes(static_cast<size_t>(state.range(0)));
    std::vector<unsigned char> bytes(encoded.size() / 4 * 3 + 1);
    for (auto _ : state) {
        EVP_DecodeBlock(bytes.data(), encoded.data(), static_cast<int>(encoded.size()));
        benchmark::DoNotOptimize(bytes.data());
        benchmark::ClobberMemory();
    }
    CountBytes(state, encoded.size());
}

void Checksum(benchmark::State& state) {
    const std::vector<unsigned char> bytes = RandomBytes(static_cast<size_t>(state.range(0)));
    for (auto _ : state) {
        benchmark::DoNotOptimize(SatChecksum(bytes.data(), bytes.size()));
        benchmark::ClobberMemory();
    }
    CountBytes(state, bytes.size());
}

void Memcpy(benchmark::State& state) {
    const std::vector<unsigned char> bytes = RandomBytes(static_cast<size_t>(state.range(0)));
    std::vector<unsigned char> copy(bytes.size());
    for (auto _ : state) {
        memcpy(copy.data(), bytes.data(), bytes.size());
        benchmark::DoNotOptimize(copy.data());
        benchmark::ClobberMemory();
    }
    CountBytes(state, bytes.size());
}

constexpr int64_t MEBIBYTE = 1 << 20;

BENCHMARK(EncodeOurs)->Arg(MEBIBYTE)->Arg(16 * MEBIBYTE);
BENCHMARK(EncodeOpenssl)->Arg(MEBIBYTE)->Arg(16 * MEBIBYTE);
BENCHMARK(DecodeOurs)->Arg(MEBIBYTE)->Arg(16 * MEBIBYTE);
BENCHMARK(DecodeOursPaddedOutput)->Arg(MEBIBYTE);
BENCHMARK(DecodeOpenssl)->Arg(MEBIBYTE)->Arg(16 * MEBIBYTE);
BENCHMARK(Checksum)->Arg(MEBIBYTE)->Arg(16 * MEBIBYTE);
BENCHMARK(Memcpy)->Arg(MEBIBYTE)->Arg(16 * MEBIBYTE);

}  // namespace

BENCHMARK_MAIN();
