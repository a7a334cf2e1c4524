#include "codec/xvid.h"

#include <gtest/gtest.h>

#include "tests/native/codec/Corpus.h"
#include "tests/native/codec/XvidDriver.h"

namespace codec::test {
namespace {

std::vector<Reference> DecodeAll(XvidDriver& driver, const std::vector<Bytes>& packets) {
    std::vector<Reference> sums;
    for (const Bytes& packet : packets) {
        if (driver.Decode(packet).type > 0) sums.push_back(SumOf(driver.View()));
    }
    while (driver.Drain().type > 0)
        sums.push_back(SumOf(driver.View()));
    return sums;
}

class Mpeg4Clip : public testing::TestWithParam<const char*> {};

TEST_P(Mpeg4Clip, GivesTheSamePicturesAsFfmpeg) {
    const std::string clip = std::string("mpeg4_") + GetParam();
    XvidDriver driver;
    EXPECT_EQ(DecodeAll(driver, LoadPackets(clip)), LoadReferences(clip));
}

INSTANTIATE_TEST_SUITE_P(Clips, Mpeg4Clip,
                         testing::Values("simple_176x144", "b_352x288", "interlaced_720x576", "odd_99x67",
                                         "packed_352x288", "quarter_320x240", "simple_3840x2160"),
                         [](const auto& info) { return std::string(info.param); });

TEST(Xvid, FollowsAChangeOfSize) {
    XvidDriver driver;
    for (const char* clip : {"mpeg4_simple_176x144", "mpeg4_odd_99x67", "mpeg4_quarter_320x240"}) {
        const std::vector<Reference> exact = LoadReferences(clip);
        const std::vector<Bytes> packets = LoadPackets(clip);
        for (std::size_t i = 0; i < packets.size(); ++i) {
            ASSERT_GT(driver.Decode(packets[i]).type, 0) << clip << i;
            EXPECT_EQ(SumOf(driver.View()), exact[i]) << clip << i;
        }
    }
}

TEST(Xvid, WaitsForAnIntraPicture) {
    const std::vector<Bytes> packets = LoadPackets("mpeg4_simple_176x144");
    const std::vector<Reference> exact = LoadReferences("mpeg4_simple_176x144");
    XvidDriver driver;
    EXPECT_EQ(driver.Decode(packets[1]).result, XVID_ERR_NO_PICTURE) << "no header yet";
    for (std::size_t i = 0; i < 4; ++i)
        EXPECT_GT(driver.Decode(packets[i]).type, 0);

    // Packets 4 to 6 are lost.
    EXPECT_EQ(driver.Decode(packets[7], XVID_DISCONTINUITY).result, XVID_ERR_NO_PICTURE);
    EXPECT_EQ(driver.Decode(packets[8]).type, XVID_TYPE_IVOP);
    EXPECT_EQ(SumOf(driver.View()), exact[8]);

    // Damage lasts until the next intra picture at most.
    EXPECT_LT(driver.Decode(Bytes{0, 0, 1, 0xb6, 0x40, 0xff}).type, XVID_TYPE_PVOP);
    EXPECT_EQ(driver.Decode(Bytes(100, 0x55)).result, XVID_ERR_NO_PICTURE);
    EXPECT_GT(driver.Decode(packets[16]).type, 0);
    EXPECT_EQ(SumOf(driver.View()), exact[16]);
}

TEST(Xvid, RefusesHostileHeaders) {
    Bytes packet = LoadPackets("mpeg4_simple_176x144")[0];
    XvidDriver driver;
    std::size_t vol = 0;
    while (!(packet[vol] == 0 && packet[vol + 1] == 0 && packet[vol + 2] == 1 && packet[vol + 3] >> 4 == 2))
        ++vol;
    for (std::size_t length = vol + 4; length < vol + 12; ++length) {
        EXPECT_EQ(
            driver.Decode(Bytes(packet.begin(), packet.begin() + static_cast<std::ptrdiff_t>(length))).result,
            XVID_ERR_NO_PICTURE)
            << length;
    }
    EXPECT_EQ(driver.m_width, 0);
    packet.resize(1 << 20);
    std::fill(packet.begin() + static_cast<std::ptrdiff_t>(vol) + 20, packet.end(), 0x5a);
    EXPECT_EQ(driver.Decode(packet).result, XVID_ERR_NO_PICTURE) << "user data without end";
}

}  // namespace
}  // namespace codec::test
