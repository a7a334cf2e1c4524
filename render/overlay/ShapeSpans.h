#pragma once

#include <windows.h>

#include <cstdint>
#include <vector>

#include "util/Handles.h"

namespace norix {

/// The pixels of a shape, as a region for each of its colours. To draw a round shape with a thick pen, GDI
/// joins dozens of small polygons, anew for every picture; its pixels are found once, and filling them costs
/// a fraction of that. Belongs to one thread at a time.
class ShapeSpans {
  public:
    /// Draws a shape into any device context, as it stands.
    class Shape {
      public:
        virtual void DrawOn(HDC dc) const = 0;

      protected:
        ~Shape() = default;
    };

    ~ShapeSpans() { Forget(); }
    ShapeSpans() = default;
    ShapeSpans(const ShapeSpans&) = delete;
    ShapeSpans& operator=(const ShapeSpans&) = delete;

    /// Finds what the shape draws within `bounds`. False, and nothing kept, for one that is very large or has
    /// too many colours or pixels, without memory, and when the process has very many of these: that is to be
    /// drawn as a shape.
    bool Find(const RECT& bounds, const Shape& shape) noexcept;

    /// Leaves the device context, which has no clipping of its own, as it was; allocates nothing.
    void Draw(HDC dc) const;

  private:
    struct Colour {
        COLORREF colour;
        std::vector<RECT> runs;  // of a row each, while they are sought
        util::UniqueRegion region;
        RECT bounds;
    };

    bool Collect(const std::uint32_t* pixels, int width, int height);
    bool Add(std::uint32_t pixel, const RECT& run);
    bool MakeRegions(POINT corner);
    void Forget() noexcept;

    std::vector<Colour> m_colours;
    std::size_t m_count = 0;  // of runs
    long m_regions = 0;       // counted as the process's
};

}  // namespace norix
