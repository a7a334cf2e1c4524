#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>

#include "codec/StaticInit.h"
#include "tests/native/codec/Corpus.h"

int main(int argc, char** argv) {
    testing::InitGoogleTest(&argc, argv);
    constexpr char kCorpus[] = "--corpus=";
    for (int i = 1; i < argc; ++i) {
        if (std::strncmp(argv[i], kCorpus, sizeof kCorpus - 1) == 0) {
            codec::test::g_corpusFolder = argv[i] + sizeof kCorpus - 1;
        }
    }
    if (codec::StaticInit() != codec::kStaticInitOk) {
        std::fputs("this processor can't run the codec library\n", stderr);
        return 1;
    }
    return RUN_ALL_TESTS();
}
