// Our decoder behind xvidcore's entry points against xvidcore itself. Both define the same names, so the real
// one is loaded by hand.

#include <dlfcn.h>
#include <gtest/gtest.h>

#include <cmath>
#include <memory>

#include "codec/xvid.h"
#include "tests/native/codec/Corpus.h"
#include "tests/native/codec/XvidDriver.h"

namespace codec::test {
namespace {

class Xvidcore : public testing::TestWithParam<const char*> {
  protected:
    void SetUp() override {
        m_library.reset(dlopen("libxvidcore.so.4", RTLD_NOW | RTLD_LOCAL));
        if (!m_library) GTEST_SKIP() << "xvidcore is not installed";
        const auto global = reinterpret_cast<DecoreFunction>(dlsym(m_library.get(), "xvid_global"));
        m_decore = reinterpret_cast<DecoreFunction>(dlsym(m_library.get(), "xvid_decore"));
        ASSERT_TRUE(global && m_decore);
        xvid_gbl_init_t init = {};
        init.version = XVID_VERSION;
        ASSERT_EQ(global(nullptr, XVID_GBL_INIT, &init, nullptr), 0);
    }

    struct Close {
        void operator()(void* library) const { dlclose(library); }
    };
    std::unique_ptr<void, Close> m_library;
    DecoreFunction m_decore = nullptr;
};

double MeanDifference(const Bytes& a, const Bytes& b) {
    double sum = 0;
    for (std::size_t i = 0; i < a.size(); ++i)
        sum += std::abs(a[i] - b[i]);
    return sum / static_cast<double>(a.size());
}

struct Shown {
    std::vector<Bytes> pictures;
    std::vector<int> types;
    std::vector<int> headers;
};

Shown DecodeAll(DecoreFunction decore, const std::vector<Bytes>& packets, int csp) {
    XvidDriver driver(decore);
    driver.m_csp = csp;
    Shown shown;
    for (const Bytes& packet : packets) {
        const XvidDriver::Output output = driver.Decode(packet);
        shown.headers.push_back(output.headers);
        if (output.type > 0) {
            shown.pictures.push_back(driver.m_buffer);
            shown.types.push_back(output.type);
        }
    }
    while (driver.Drain().type > 0)
        shown.pictures.push_back(driver.m_buffer);
    return shown;
}

TEST_P(Xvidcore, ShowsTheSamePictures) {
    const std::vector<Bytes> packets = LoadPackets(std::string("mpeg4_") + GetParam());
    for (int csp : {XVID_CSP_PLANAR, XVID_CSP_YUY2, XVID_CSP_BGR}) {
        const Shown ours = DecodeAll(xvid_decore, packets, csp);
        const Shown theirs = DecodeAll(m_decore, packets, csp);
        EXPECT_EQ(ours.headers, theirs.headers);
        EXPECT_EQ(ours.types, theirs.types);
        ASSERT_EQ(ours.pictures.size(), theirs.pictures.size());
        for (std::size_t i = 0; i < ours.pictures.size(); ++i) {
            ASSERT_EQ(ours.pictures[i].size(), theirs.pictures[i].size());
            // The transforms round differently, and that adds up from one intra picture to the next.
            EXPECT_LT(MeanDifference(ours.pictures[i], theirs.pictures[i]), 1.0)
                << "csp " << csp << ", picture " << i;
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Clips, Xvidcore,
                         testing::Values("simple_176x144", "b_352x288", "interlaced_720x576",
                                         "quarter_320x240"),
                         [](const auto& info) { return std::string(info.param); });

}  // namespace
}  // namespace codec::test
