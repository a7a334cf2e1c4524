#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "codec/BgrScaler.h"

namespace norix {

/// What was painted over pictures of one size, as runs of pixels, so that it can be put over each further
/// picture without being painted again. Found from the same painting on black and on white: what is the same
/// on both covers the picture, what is neither lets some of it through (the edges of smoothed letters).
///
/// No Windows header. One thread at a time.
class PaintedPixels {
  public:
    void Clear();

    /// The next row of both paintings, from the top: blue, green, red and a byte of any value per pixel.
    /// Throws std::bad_alloc.
    void AddRow(const std::uint32_t* onBlack, const std::uint32_t* onWhite, int width);

    /// Puts all rows over the pixels of a picture, as far as these reach. Allocates nothing.
    void Compose(const codec::BgrScaler::Target& target) const;

  private:
    struct Run {
        int row;
        int begin;
        int length;
        std::size_t at;  // of the first pixel, below
    };
    void AddCovering(const std::uint32_t* pixels, int begin, int end);
    void AddMixed(const std::uint32_t* onBlack, const std::uint32_t* onWhite, int begin, int end);

    int m_rows = 0;
    std::vector<Run> m_covering;
    std::vector<std::uint32_t> m_colours;
    std::vector<Run> m_mixed;
    struct Mixed {
        std::uint32_t colour;   // what is added,
        std::uint32_t through;  // and how much of each channel of the picture remains
    };
    std::vector<Mixed> m_mixtures;
};

}  // namespace norix
