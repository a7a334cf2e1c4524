#pragma once

#include <cstdint>
#include <ostream>
#include <string>
#include <vector>

#include "codec/Picture.h"

namespace codec {

namespace test {

using Bytes = std::vector<std::uint8_t>;

/// Where make_corpus.py put the clips; set by main.
extern std::string g_corpusFolder;

/// What FFmpeg's own decoder made of one picture.
struct Reference {
    std::size_t bytes = 0;
    std::uint32_t adler = 0;
    bool operator==(const Reference&) const = default;
};
std::ostream& operator<<(std::ostream& out, const Reference& reference);

/// One clip. All of these fail the test and return nothing when the file is missing.
std::vector<Bytes> LoadPackets(const std::string& clip);
std::vector<Reference> LoadReferences(const std::string& clip);
Bytes LoadRaw(const std::string& clip);

/// The same sum over the samples of a picture, planes without padding.
Reference SumOf(const PlanarPicture& picture);

/// The samples of a picture, planes without padding, one behind the other.
Bytes Pack(const PlanarPicture& picture);

/// Greatest difference between corresponding bytes; 256 for different lengths.
int GreatestDifference(const Bytes& a, const Bytes& b);

/// Greatest difference of a packed picture, rows without padding, from the defining equations of its matrix
/// in floating point with chroma repeated. Of large pictures only some rows are looked at.
int DifferenceFromReference(const Bytes& packed, const PlanarPicture& picture, PixelFormat format);

/// Deterministic pseudo-random numbers, the same on every platform.
class Random {
  public:
    explicit Random(std::uint64_t seed) : m_state(seed * 2 + 1) {}
    std::uint32_t Next();
    std::uint32_t Below(std::uint32_t bound) { return Next() % bound; }

  private:
    std::uint64_t m_state;
};

/// How many damaged frames each codec has to get over.
inline constexpr int kDamagedFrames = 10000;

/// A packet as cameras send it that announce their stream's parameters elsewhere.
Bytes WithoutParameterSets(const Bytes& h264);
Bytes WithoutVolHeader(const Bytes& mpeg4);

/// Damages a packet: flips bits, cuts it short, exchanges or overwrites pieces.
Bytes Corrupt(const Bytes& packet, Random& random);

}  // namespace test
}  // namespace codec
