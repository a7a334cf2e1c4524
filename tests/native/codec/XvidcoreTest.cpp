// Our decoder behind xvidcore's entry points against xvidcore itself, which alone tells whether they are used
// as they are meant. Both define the same names, so the real one is loaded by hand.

#include <dlfcn.h>
#include <gtest/gtest.h>

#include <cstdlib>

#include "tests/native/codec/XvidDriver.h"

namespace codec::test {
namespace {

// What each packet brings: headers, the picture's type, the picture.
struct Shown {
    std::vector<std::pair<int, int>> kinds;
    std::vector<Bytes> pictures;
};

Shown DecodeAll(DecoreFunction decore, const std::vector<Bytes>& packets, int csp) {
    XvidDriver driver(decore);
    driver.m_csp = csp;
    Shown shown;
    for (const Bytes& packet : packets) {
        const XvidDriver::Output output = driver.Decode(packet);
        shown.kinds.emplace_back(output.headers, output.type);
        if (output.type > 0) shown.pictures.push_back(driver.m_buffer);
    }
    while (driver.Drain().type > 0)
        shown.pictures.push_back(driver.m_buffer);
    return shown;
}

double MeanDifference(const Bytes& a, const Bytes& b) {
    double sum = 0;
    for (std::size_t i = 0; i < a.size(); ++i)
        sum += std::abs(a[i] - b[i]);
    return sum / static_cast<double>(a.size());
}

TEST(Xvidcore, ShowsTheSamePictures) {
    void* const library = dlopen("libxvidcore.so.4", RTLD_NOW | RTLD_LOCAL);
    if (!library) GTEST_SKIP() << "xvidcore is not installed";
    const auto global = reinterpret_cast<DecoreFunction>(dlsym(library, "xvid_global"));
    const auto decore = reinterpret_cast<DecoreFunction>(dlsym(library, "xvid_decore"));
    ASSERT_TRUE(global && decore);
    xvid_gbl_init_t init = {};
    init.version = XVID_VERSION;
    ASSERT_EQ(global(nullptr, XVID_GBL_INIT, &init, nullptr), 0);
    for (const char* clip : {"simple_176x144", "b_352x288", "interlaced_720x576", "quarter_320x240"}) {
        const std::vector<Bytes> packets = LoadPackets(std::string("mpeg4_") + clip);
        for (const int csp : {XVID_CSP_PLANAR, XVID_CSP_YUY2, XVID_CSP_BGR}) {
            SCOPED_TRACE(clip + (" csp " + std::to_string(csp)));
            const Shown ours = DecodeAll(xvid_decore, packets, csp);
            const Shown theirs = DecodeAll(decore, packets, csp);
            EXPECT_EQ(ours.kinds, theirs.kinds);
            ASSERT_EQ(ours.pictures.size(), theirs.pictures.size());
            for (std::size_t i = 0; i < ours.pictures.size(); ++i) {
                ASSERT_EQ(ours.pictures[i].size(), theirs.pictures[i].size());
                // The transforms round differently, and that adds up from one intra picture to the next.
                EXPECT_LT(MeanDifference(ours.pictures[i], theirs.pictures[i]), 1.0) << "picture " << i;
            }
        }
    }
}

}  // namespace
}  // namespace codec::test
