#include "tests/native/codec/Corpus.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <sstream>

namespace codec {

namespace test {

std::string g_corpusFolder;

namespace {

Bytes ReadFile(const std::string& name) {
    std::ifstream file(g_corpusFolder + "/" + name, std::ios::binary);
    if (!file) ADD_FAILURE() << "no such clip: " << g_corpusFolder << "/" << name;
    return Bytes(std::istreambuf_iterator<char>(file), {});
}

template <typename Visitor>
void ForEachRow(const PlanarPicture& picture, Visitor visit) {
    const int sampleBytes = picture.bitDepth > 8 ? 2 : 1;
    const int planes = picture.chroma == ChromaFormat::kGrey ? 1 : 3;
    for (int plane = 0; plane < planes; ++plane) {
        const int width = plane == 0 ? picture.width : ChromaWidth(picture.chroma, picture.width);
        const int height = plane == 0 ? picture.height : ChromaHeight(picture.chroma, picture.height);
        for (int y = 0; y < height; ++y) {
            visit(picture.planes[plane] + static_cast<std::ptrdiff_t>(y) * picture.strides[plane],
                  width * sampleBytes);
        }
    }
}

std::uint8_t Level(double value) {
    return static_cast<std::uint8_t>(std::lround(std::clamp(value, 0.0, 255.0)));
}

}  // namespace

std::ostream& operator<<(std::ostream& out, const Reference& reference) {
    return out << reference.bytes << " bytes, sum " << std::hex << reference.adler << std::dec;
}

std::vector<Bytes> LoadPackets(const std::string& clip) {
    const Bytes file = ReadFile(clip + ".pkt");
    std::vector<Bytes> packets;
    for (std::size_t at = 0; at + 4 <= file.size();) {
        const std::size_t length =
            file[at] | file[at + 1] << 8 | file[at + 2] << 16 | static_cast<std::size_t>(file[at + 3]) << 24;
        packets.emplace_back(file.begin() + static_cast<std::ptrdiff_t>(at + 4),
                             file.begin() + static_cast<std::ptrdiff_t>(at + 4 + length));
        at += 4 + length;
    }
    EXPECT_FALSE(packets.empty()) << clip;
    return packets;
}

std::vector<Reference> LoadReferences(const std::string& clip) {
    const Bytes file = ReadFile(clip + ".crc");
    std::istringstream text(std::string(file.begin(), file.end()));
    std::vector<Reference> references;
    for (std::string line; std::getline(text, line);) {
        unsigned long bytes = 0;
        unsigned long adler = 0;
        // stream, dts, pts, duration, size, sum
        if (std::sscanf(line.c_str(), "0, %*d, %*d, %*d, %lu, %lx", &bytes, &adler) == 2) {
            references.push_back({bytes, static_cast<std::uint32_t>(adler)});
        }
    }
    EXPECT_FALSE(references.empty()) << clip;
    return references;
}

Bytes LoadRaw(const std::string& clip) {
    return ReadFile(clip + ".raw");
}

Reference SumOf(const PlanarPicture& picture) {
    // Adler-32 (RFC 1950), begun with 0 as FFmpeg's framecrc does.
    constexpr std::uint32_t kModulus = 65521;
    constexpr int kRun = 5552;  // bytes that can be added before the sums have to be reduced
    std::uint32_t a = 0;
    std::uint32_t b = 0;
    std::size_t bytes = 0;
    ForEachRow(picture, [&](const std::uint8_t* row, int count) {
        bytes += static_cast<std::size_t>(count);
        while (count > 0) {
            const int run = std::min(count, kRun);
            for (int i = 0; i < run; ++i)
                b += a += row[i];
            a %= kModulus;
            b %= kModulus;
            row += run;
            count -= run;
        }
    });
    return {bytes, b << 16 | a};
}

Bytes Pack(const PlanarPicture& picture) {
    Bytes bytes;
    ForEachRow(picture,
               [&](const std::uint8_t* row, int count) { bytes.insert(bytes.end(), row, row + count); });
    return bytes;
}

int GreatestDifference(const Bytes& a, const Bytes& b) {
    if (a.size() != b.size()) return 256;
    int greatest = 0;
    for (std::size_t i = 0; i < a.size(); ++i)
        greatest = std::max(greatest, std::abs(a[i] - b[i]));
    return greatest;
}

/// What red and blue make of luma.
struct Weights {
    double red;
    double blue;
    double Green() const { return 1 - red - blue; }
};

static Weights WeightsOf(ColourMatrix matrix) {
    return matrix == ColourMatrix::kBt709 ? Weights{0.2126, 0.0722} : Weights{0.299, 0.114};
}

int DifferenceFromReference(const Bytes& packed, const PlanarPicture& picture, PixelFormat format) {
    constexpr int kRowsEnough = 300;
    const int rowStep = picture.height / kRowsEnough * 2 + 1;  // odd, so that rows of both fields turn up
    if (packed.size() != PictureBytes(format, picture.width, picture.height)) return 256;
    const auto sample = [&](int plane, int row, int column) -> double {
        const std::uint8_t* at =
            picture.planes[plane] + static_cast<std::ptrdiff_t>(row) * picture.strides[plane];
        if (picture.bitDepth == 8) return at[column];
        return (at[2 * column] | at[2 * column + 1] << 8) / std::pow(2.0, picture.bitDepth - 8);
    };
    const bool halfHeight = picture.chroma == ChromaFormat::k420 || picture.chroma == ChromaFormat::k440;
    const bool halfWidth = picture.chroma == ChromaFormat::k420 || picture.chroma == ChromaFormat::k422;
    const auto chroma = [&](int plane, int row, int column) -> double {
        if (picture.chroma == ChromaFormat::kGrey) return 128;
        if (halfHeight && picture.interlaced) {
            row = std::min(row / 4 * 2 + row % 2, ChromaHeight(picture.chroma, picture.height) - 1);
        } else if (halfHeight) {
            row /= 2;
        }
        return sample(plane, row, halfWidth ? column / 2 : column);
    };
    const auto pairChroma = [&](int plane, int row, int column) {
        const int first = column & ~1;
        const int second = std::min(first + 1, picture.width - 1);
        return (chroma(plane, row, first) + chroma(plane, row, second)) / 2;
    };
    int greatest = 0;
    for (int y = 0; y < picture.height; y += y + rowStep < picture.height ? rowStep : 1) {
        const std::uint8_t* at =
            packed.data() + static_cast<std::ptrdiff_t>(y) * RowBytes(format, picture.width);
        const auto compare = [&](double expected) {
            greatest = std::max(greatest, std::abs(*at++ - Level(expected)));
        };
        for (int x = 0; x < picture.width; ++x) {
            // Everything in levels of full range.
            const double scale = picture.fullRange ? 1 : 255.0 / 224;
            const double luma = picture.fullRange ? sample(0, y, x) : (sample(0, y, x) - 16) * 255 / 219;
            const bool packedPairs = format == PixelFormat::kYuy2;
            const double u = ((packedPairs ? pairChroma(1, y, x) : chroma(1, y, x)) - 128) * scale;
            const double v = ((packedPairs ? pairChroma(2, y, x) : chroma(2, y, x)) - 128) * scale;
            const Weights weights = WeightsOf(picture.matrix);
            const double blue = luma + 2 * (1 - weights.blue) * u;
            const double red = luma + 2 * (1 - weights.red) * v;
            const double green = (luma - weights.red * red - weights.blue * blue) / weights.Green();
            if (packedPairs) {
                const Weights to = WeightsOf(ColourMatrix::kBt601);
                const double newLuma = to.red * red + to.Green() * green + to.blue * blue;
                const double first = (blue - newLuma) / (2 * (1 - to.blue));
                const double second = (red - newLuma) / (2 * (1 - to.red));
                compare(16 + newLuma * 219 / 255);
                compare(128 + (x % 2 == 0 ? first : second) * 224 / 255);
            } else {
                compare(blue);
                compare(green);
                compare(red);
            }
        }
    }
    return greatest;
}

std::uint32_t Random::Next() {
    // xorshift64*
    m_state ^= m_state >> 12;
    m_state ^= m_state << 25;
    m_state ^= m_state >> 27;
    return static_cast<std::uint32_t>(m_state * 2685821657736338717ull >> 32);
}

Bytes WithoutParameterSets(const Bytes& h264) {
    constexpr int kTypeMask = 0x1f;
    constexpr int kSps = 7;
    constexpr int kPps = 8;
    Bytes rest;
    bool kept = true;
    for (std::size_t i = 0; i < h264.size(); ++i) {
        if (i + 4 < h264.size() && h264[i] == 0 && h264[i + 1] == 0 && h264[i + 2] == 0 && h264[i + 3] == 1) {
            const int type = h264[i + 4] & kTypeMask;
            kept = type != kSps && type != kPps;
        } else if (i + 3 < h264.size() && h264[i] == 0 && h264[i + 1] == 0 && h264[i + 2] == 1 &&
                   (i == 0 || h264[i - 1] != 0)) {
            const int type = h264[i + 3] & kTypeMask;
            kept = type != kSps && type != kPps;
        }
        if (kept) rest.push_back(h264[i]);
    }
    return rest;
}

Bytes WithoutVolHeader(const Bytes& mpeg4) {
    constexpr std::uint8_t kVop[] = {0, 0, 1, 0xb6};
    return {std::search(mpeg4.begin(), mpeg4.end(), std::begin(kVop), std::end(kVop)), mpeg4.end()};
}

Bytes Corrupt(const Bytes& packet, Random& random) {
    Bytes damaged = packet;
    const auto size = [&] { return static_cast<std::uint32_t>(damaged.size()); };
    switch (random.Below(4)) {
        case 0:
            for (std::uint32_t n = 1 + random.Below(20); n > 0; --n) {
                damaged[random.Below(size())] ^= static_cast<std::uint8_t>(1u << random.Below(8));
            }
            break;
        case 1:
            damaged.resize(1 + random.Below(size()));
            break;
        case 2: {
            const std::uint32_t length = 1 + random.Below(size() / 2 + 1);
            const std::uint32_t first = random.Below(size() - length + 1);
            const std::uint32_t second = random.Below(size() - length + 1);
            std::rotate(damaged.begin() + std::min(first, second), damaged.begin() + std::max(first, second),
                        damaged.begin() + std::max(first, second) + length);
            break;
        }
        default: {
            const std::uint32_t first = random.Below(size());
            const std::uint32_t end = std::min(size(), first + 1 + random.Below(64));
            for (std::uint32_t i = first; i < end; ++i)
                damaged[i] = static_cast<std::uint8_t>(random.Next());
        }
    }
    return damaged;
}

}  // namespace test
}  // namespace codec
