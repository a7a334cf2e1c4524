#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace norix::tests {

/// An AVI file as a strict reader finds it. `fault` says what is wrong with it; empty: nothing.
struct AviContents {
    struct Chunk {
        std::string id;
        bool key = false;
        std::size_t size = 0;
        std::vector<std::uint8_t> data;
    };

    std::string fault;
    bool indexed = false;
    std::uint32_t microsecondsPerFrame = 0;
    std::uint32_t flags = 0;
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    std::uint32_t rate = 0;  // of the video stream, or of the only one
    std::uint32_t scale = 0;
    std::uint32_t videoLength = 0;
    std::uint32_t audioLength = 0;
    std::uint32_t audioTag = 0;
    std::vector<Chunk> chunks;

    std::vector<Chunk> Video() const { return Of("00dc"); }
    std::vector<Chunk> Audio() const;
    double Seconds() const { return rate == 0 ? 0 : static_cast<double>(videoLength) * scale / rate; }

  private:
    std::vector<Chunk> Of(const std::string& id) const;
};

/// Checks everything that the RIFF and AVI forms demand: sizes that meet, padding, counts, an index entry for
/// each chunk at its place. `complete`: the file was finished; else it ends where the header says, whatever
/// stands behind, and the index may be missing. Without `keepData` the chunks have their sizes only.
AviContents ReadAvi(std::span<const std::uint8_t> file, bool complete = true, bool keepData = true);

}  // namespace norix::tests
