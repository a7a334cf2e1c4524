#pragma once

#include <windows.h>

#include <cstdint>
#include <vector>

namespace norix {

/// The pixels of a shape as horizontal runs of one colour each. To draw a round shape with a thick pen, GDI
/// joins dozens of small polygons, anew for every picture; its runs are found once and cost a fraction of
/// that. Belongs to one thread at a time.
class ShapeSpans {
  public:
    /// Draws a shape into any device context, as it stands.
    class Shape {
      public:
        virtual void DrawOn(HDC dc) const = 0;

      protected:
        ~Shape() = default;
    };

    /// Finds the runs of what the shape draws within `bounds`. False, and nothing kept, for one that is very
    /// large or has too many colours or runs, or without memory: that is to be drawn as a shape.
    bool Find(const RECT& bounds, const Shape& shape) noexcept;

    /// Leaves the device context as it was; allocates nothing. Into a bitmap in memory, clipped by its edges
    /// only, it writes by itself, which is faster still.
    void Draw(HDC dc) const;

  private:
    /// Pixels of a row, from the bounds' upper left corner.
    struct Run {
        std::int16_t row;
        std::int16_t begin;
        std::int16_t end;
    };
    struct Colour {
        COLORREF colour;
        std::vector<Run> runs;
    };

    bool DrawInMemory(HDC dc) const;
    void DrawLines(HDC dc) const;
    bool Collect(const std::uint32_t* pixels, int width, int height);
    bool Add(std::uint32_t pixel, Run run);

    POINT m_corner = {};
    std::vector<Colour> m_colours;
    std::size_t m_count = 0;
};

}  // namespace norix
