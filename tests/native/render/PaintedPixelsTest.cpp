#include "render/overlay/PaintedPixels.h"

#include <gtest/gtest.h>

#include <vector>

namespace norix {
namespace {

using Row = std::vector<std::uint32_t>;

std::uint32_t Mix(std::uint32_t colour, std::uint32_t ground, const int (&shares)[3]) {
    std::uint32_t mixed = 0;
    for (int channel = 0; channel < 3; ++channel) {
        const int shift = 8 * channel;
        const int over = static_cast<int>(colour >> shift & 0xFF);
        const int under = static_cast<int>(ground >> shift & 0xFF);
        const int share = shares[channel];
        mixed |= static_cast<std::uint32_t>((over * share + under * (255 - share) + 127) / 255) << shift;
    }
    return mixed;
}

// Letters are smoothed by channel: what is found on black and white holds on every ground.
TEST(PaintedPixels, GivesOnEveryGroundWhatPaintingThereWouldGive) {
    constexpr std::uint32_t kInk = 0x30C8F0;
    const int shares[][3] = {{0, 0, 0},      {255, 255, 255}, {255, 255, 255},
                             {10, 128, 240}, {0, 255, 0},     {0, 0, 0}};
    const auto paint = [&](std::uint32_t ground) {
        Row row;
        for (const auto& share : shares)
            row.push_back(Mix(kInk, ground, share));
        return row;
    };
    const int width = static_cast<int>(std::size(shares));
    PaintedPixels pixels;
    const Row nothingOnBlack(std::size(shares), 0xFF000000);  // the fourth byte says nothing
    const Row nothingOnWhite(std::size(shares), 0x00FFFFFF);
    pixels.AddRow(nothingOnBlack.data(), nothingOnWhite.data(), width);
    pixels.AddRow(paint(0).data(), paint(0xFFFFFF).data(), width);

    for (const std::uint32_t ground : {0x000000u, 0xFFFFFFu, 0x808080u, 0x1020FEu}) {
        for (const bool bottomFirst : {false, true}) {
            Row plane(2 * std::size(shares), ground);
            const std::ptrdiff_t stride = width * 4;
            std::uint8_t* const bytes = reinterpret_cast<std::uint8_t*>(plane.data());
            pixels.Compose({bottomFirst ? bytes + stride : bytes, bottomFirst ? -stride : stride, width, 2});
            const Row expected = paint(ground);
            for (int x = 0; x < width; ++x) {
                const std::uint32_t is = plane[static_cast<std::size_t>((bottomFirst ? 0 : width) + x)];
                for (const int shift : {0, 8, 16})
                    EXPECT_NEAR(static_cast<int>(is >> shift & 0xFF),
                                static_cast<int>(expected[static_cast<std::size_t>(x)] >> shift & 0xFF), 1)
                        << std::hex << ground << ' ' << x;
                EXPECT_EQ(plane[static_cast<std::size_t>((bottomFirst ? width : 0) + x)], ground);
            }
        }
    }

    // A smaller picture is not written beyond.
    Row small(3, 0);
    pixels.Compose({reinterpret_cast<std::uint8_t*>(small.data()), 8, 2, 1});
    EXPECT_EQ(small, Row(3, 0));
    pixels.Clear();
    pixels.AddRow(paint(0).data(), paint(0xFFFFFF).data(), width);
    pixels.Compose({reinterpret_cast<std::uint8_t*>(small.data()), 8, 2, 1});
    EXPECT_EQ(small, (Row{0, kInk, 0}));
}

}  // namespace
}  // namespace norix
