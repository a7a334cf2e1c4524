// The maker's audio library: taken where it is right, left alone where it is not.

#include <windows.h>

#include <gtest/gtest.h>

#include "audio/talkback/AudioLibrary.h"

namespace norix {
namespace {

std::wstring Told() {
    wchar_t text[32] = {};
    GetEnvironmentVariableW(L"NORIX_TEST_POST", text, 32);
    return text;
}

TEST(MakersLibrary, PostsAndTellsWhatComesOfIt) {
    auto library = AudioLibrary::Load(util::OwnModuleFolder() + L"right\\");
    ASSERT_TRUE(library);
    int changes = 0;
    const auto progress = std::make_shared<TalkProgress>([&] { ++changes; }, nullptr);
    EXPECT_FALSE(library->Start({"http://c/", "nobody", "", 2, 16000}, progress));
    EXPECT_TRUE(library->Start({"http://c/", "admin", "", 2, 16000}, progress));
    EXPECT_EQ(progress->State(), TalkState::Occupied) << "what has ended stays so";
    EXPECT_EQ(changes, 2);
    library->Stop();
    EXPECT_EQ(Told(), L"stopped");
    library.reset();
    EXPECT_EQ(Told(), L"released");
}

TEST(MakersLibrary, OthersAreLeftAlone) {
    EXPECT_EQ(AudioLibrary::Load(util::OwnModuleFolder() + L"foreign\\"), nullptr);
    EXPECT_EQ(Told(), L"released");
    for (const wchar_t* kind : {L"empty\\", L"nowhere\\"})
        EXPECT_EQ(AudioLibrary::Load(util::OwnModuleFolder() + kind), nullptr);
    EXPECT_EQ(AudioLibrary::Load(L""), nullptr);
}

}  // namespace
}  // namespace norix
