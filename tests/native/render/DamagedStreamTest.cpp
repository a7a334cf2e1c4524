#include "tests/native/render/DamagedStream.h"

#include <gtest/gtest.h>

#include "tests/native/render/Rig.h"

namespace norix {
namespace {

using test::DamagedStream;
using test::Rig;

// The codecs' own tests damage many more.
constexpr int kFrames = 2000;

class DamagedStreamTest : public testing::TestWithParam<DamagedStream> {};

TEST_P(DamagedStreamTest, GivesPicturesAgainAtTheNextKeyFrame) {
    MediaSettings media;
    media.enableDecodeFrameDrop = false;  // every frame reaches the decoder
    Rig rig(GetParam().kind, codec::PixelFormat::kYuy2, Rig::Small(), media);
    rig.StartThreads();
    test::InsertDamaged(rig.param, GetParam(), kFrames, 1);
    const std::size_t before = rig.sink->Shown().size();
    test::InsertSound(rig.param, GetParam());
    for (int waited = 0; waited < 20000 && rig.sink->Shown().size() == before; ++waited)
        platform::SleepMs(1);
    rig.StopThreads();
    EXPECT_GT(rig.sink->Shown().size(), before);
    EXPECT_GT(before, 0u);
    EXPECT_FALSE(rig.sink->shownWhilePreparing);
    EXPECT_FALSE(rig.sink->wrongSize);
}

INSTANTIATE_TEST_SUITE_P(Kinds, DamagedStreamTest, testing::ValuesIn(test::DamagedStreams()),
                         [](const auto& info) { return info.param.name; });

}  // namespace
}  // namespace norix
