#include "protocol/Digest.h"

#include <array>
#include <bit>
#include <cmath>
#include <cstdint>

#include "protocol/Text.h"

namespace protocol {
namespace {

constexpr std::size_t kBlock = 64;
constexpr std::size_t kLengthField = 8;

// All hashes pad alike: a one bit, zeros, the length in bits; they differ in the byte order.
template <typename Compress>
void forEachBlock(std::string_view data, bool bigEndian, Compress compress) {
    std::string padded(data);
    padded += static_cast<char>(0x80);
    while (padded.size() % kBlock != kBlock - kLengthField)
        padded += '\0';
    const std::uint64_t bits = std::uint64_t{data.size()} * 8;
    for (unsigned i = 0; i < kLengthField; ++i) {
        padded += static_cast<char>(bits >> 8 * (bigEndian ? kLengthField - 1 - i : i));
    }
    for (std::size_t at = 0; at < padded.size(); at += kBlock) {
        std::array<std::uint32_t, 16> words{};
        for (std::size_t i = 0; i < kBlock; ++i) {
            const auto byte = static_cast<unsigned char>(padded[at + i]);
            const std::size_t shift = bigEndian ? 3 - i % 4 : i % 4;
            words[i / 4] |= static_cast<std::uint32_t>(byte) << 8 * shift;
        }
        compress(words);
    }
}

template <std::size_t n>
std::array<unsigned char, n * 4> bytesOf(const std::array<std::uint32_t, n>& state, bool bigEndian) {
    std::array<unsigned char, n * 4> bytes;
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        bytes[i] = static_cast<unsigned char>(state[i / 4] >> 8 * (bigEndian ? 3 - i % 4 : i % 4));
    }
    return bytes;
}

template <std::size_t n>
std::string hexOf(const std::array<std::uint32_t, n>& state, bool bigEndian) {
    const auto bytes = bytesOf(state, bigEndian);
    return toHex(bytes.data(), bytes.size());
}

// The constants are the fraction bits of sines (MD5) and of cube roots of primes (SHA-256).
const std::array<std::uint32_t, 64>& md5Constants() {
    static const auto constants = [] {
        std::array<std::uint32_t, 64> k;
        for (unsigned i = 0; i < 64; ++i) {
            k[i] = static_cast<std::uint32_t>(std::floor(std::fabs(std::sin(double(i + 1))) * 4294967296.0));
        }
        return k;
    }();
    return constants;
}

constexpr std::array<std::uint32_t, 64> kSha256 = {
    0x428a2f98, 0x71374491, 0xb5c0fbcf, 0xe9b5dba5, 0x3956c25b, 0x59f111f1, 0x923f82a4, 0xab1c5ed5,
    0xd807aa98, 0x12835b01, 0x243185be, 0x550c7dc3, 0x72be5d74, 0x80deb1fe, 0x9bdc06a7, 0xc19bf174,
    0xe49b69c1, 0xefbe4786, 0x0fc19dc6, 0x240ca1cc, 0x2de92c6f, 0x4a7484aa, 0x5cb0a9dc, 0x76f988da,
    0x983e5152, 0xa831c66d, 0xb00327c8, 0xbf597fc7, 0xc6e00bf3, 0xd5a79147, 0x06ca6351, 0x14292967,
    0x27b70a85, 0x2e1b2138, 0x4d2c6dfc, 0x53380d13, 0x650a7354, 0x766a0abb, 0x81c2c92e, 0x92722c85,
    0xa2bfe8a1, 0xa81a664b, 0xc24b8b70, 0xc76c51a3, 0xd192e819, 0xd6990624, 0xf40e3585, 0x106aa070,
    0x19a4c116, 0x1e376c08, 0x2748774c, 0x34b0bcb5, 0x391c0cb3, 0x4ed8aa4a, 0x5b9cca4f, 0x682e6ff3,
    0x748f82ee, 0x78a5636f, 0x84c87814, 0x8cc70208, 0x90befffa, 0xa4506ceb, 0xbef9a3f7, 0xc67178f2};

}  // namespace

std::string md5Hex(std::string_view data) {
    static constexpr int kRotations[4][4] = {
        {7, 12, 17, 22}, {5, 9, 14, 20}, {4, 11, 16, 23}, {6, 10, 15, 21}};
    std::array<std::uint32_t, 4> state = {0x67452301, 0xefcdab89, 0x98badcfe, 0x10325476};
    forEachBlock(data, false, [&state](const std::array<std::uint32_t, 16>& words) {
        auto [a, b, c, d] = state;
        for (unsigned i = 0; i < 64; ++i) {
            std::uint32_t f = 0;
            unsigned word = 0;
            switch (i / 16) {
                case 0:
                    f = (b & c) | (~b & d), word = i;
                    break;
                case 1:
                    f = (d & b) | (~d & c), word = 5 * i + 1;
                    break;
                case 2:
                    f = b ^ c ^ d, word = 3 * i + 5;
                    break;
                default:
                    f = c ^ (b | ~d), word = 7 * i;
                    break;
            }
            const std::uint32_t sum = a + f + md5Constants()[i] + words[word % 16];
            a = d;
            d = c;
            c = b;
            b += std::rotl(sum, kRotations[i / 16][i % 4]);
        }
        state = {state[0] + a, state[1] + b, state[2] + c, state[3] + d};
    });
    return hexOf(state, false);
}

std::string sha256Hex(std::string_view data) {
    std::array<std::uint32_t, 8> state = {0x6a09e667, 0xbb67ae85, 0x3c6ef372, 0xa54ff53a,
                                          0x510e527f, 0x9b05688c, 0x1f83d9ab, 0x5be0cd19};
    forEachBlock(data, true, [&state](const std::array<std::uint32_t, 16>& words) {
        std::array<std::uint32_t, 64> w;
        std::copy(words.begin(), words.end(), w.begin());
        for (std::size_t i = 16; i < w.size(); ++i) {
            const auto s0 = std::rotr(w[i - 15], 7) ^ std::rotr(w[i - 15], 18) ^ (w[i - 15] >> 3);
            const auto s1 = std::rotr(w[i - 2], 17) ^ std::rotr(w[i - 2], 19) ^ (w[i - 2] >> 10);
            w[i] = w[i - 16] + s0 + w[i - 7] + s1;
        }
        auto [a, b, c, d, e, f, g, h] = state;
        for (std::size_t i = 0; i < w.size(); ++i) {
            const auto s1 = std::rotr(e, 6) ^ std::rotr(e, 11) ^ std::rotr(e, 25);
            const auto t1 = h + s1 + ((e & f) ^ (~e & g)) + kSha256[i] + w[i];
            const auto s0 = std::rotr(a, 2) ^ std::rotr(a, 13) ^ std::rotr(a, 22);
            const auto t2 = s0 + ((a & b) ^ (a & c) ^ (b & c));
            h = g, g = f, f = e, e = d + t1, d = c, c = b, b = a, a = t1 + t2;
        }
        const std::array<std::uint32_t, 8> add = {a, b, c, d, e, f, g, h};
        for (std::size_t i = 0; i < state.size(); ++i)
            state[i] += add[i];
    });
    return hexOf(state, true);
}

std::string sha1(std::string_view data) {
    std::array<std::uint32_t, 5> state = {0x67452301, 0xefcdab89, 0x98badcfe, 0x10325476, 0xc3d2e1f0};
    forEachBlock(data, true, [&state](const std::array<std::uint32_t, 16>& words) {
        std::array<std::uint32_t, 80> w;
        std::copy(words.begin(), words.end(), w.begin());
        for (std::size_t i = 16; i < w.size(); ++i)
            w[i] = std::rotl(w[i - 3] ^ w[i - 8] ^ w[i - 14] ^ w[i - 16], 1);
        auto [a, b, c, d, e] = state;
        for (std::size_t i = 0; i < w.size(); ++i) {
            std::uint32_t mixed = 0;
            switch (i / 20) {
                case 0:
                    mixed = ((b & c) | (~b & d)) + 0x5a827999;
                    break;
                case 1:
                    mixed = (b ^ c ^ d) + 0x6ed9eba1;
                    break;
                case 2:
                    mixed = ((b & c) | (b & d) | (c & d)) + 0x8f1bbcdc;
                    break;
                default:
                    mixed = (b ^ c ^ d) + 0xca62c1d6;
                    break;
            }
            const std::uint32_t next = std::rotl(a, 5) + mixed + e + w[i];
            e = d, d = c, c = std::rotl(b, 30), b = a, a = next;
        }
        state = {state[0] + a, state[1] + b, state[2] + c, state[3] + d, state[4] + e};
    });
    const auto bytes = bytesOf(state, true);
    return {bytes.begin(), bytes.end()};
}

}  // namespace protocol
