#include "control/connection/SavedCredentials.h"

#include <gtest/gtest.h>

#include "util/Registry.h"

namespace norix::test {
namespace {

constexpr wchar_t kKey[] = L"Software\\Norix\\Credentials";

TEST(SavedCredentials, AreKeptPerServerAndUnreadable) {
    const SignIn first{"me", "s3cret \xE4\xB8\xAD"};
    const SignIn second{"you", ""};
    ASSERT_TRUE(SavedCredentials::Save("Cam-One.example", first));
    ASSERT_TRUE(SavedCredentials::Save("cam-two.example", second));
    EXPECT_EQ(SavedCredentials::Load("cam-one.EXAMPLE"), first);
    EXPECT_EQ(SavedCredentials::Load("cam-two.example"), second);
    EXPECT_FALSE(SavedCredentials::Load("cam-three.example"));

    util::StringReg stored(HKEY_CURRENT_USER, kKey, L"cam-one.example", true);
    ASSERT_TRUE(stored.Exists());
    EXPECT_EQ(stored.Value().find(L"s3cret"), std::wstring::npos);

    // One server's secret says nothing under another one's name, nor once it is damaged.
    util::StringReg other(HKEY_CURRENT_USER, kKey, L"cam-two.example", true);
    ASSERT_TRUE(other.Set(stored.Value()));
    EXPECT_FALSE(SavedCredentials::Load("cam-two.example"));
    for (const wchar_t* damaged : {L"", L"0", L"zz", L"00ff"}) {
        ASSERT_TRUE(stored.Set(damaged));
        EXPECT_FALSE(SavedCredentials::Load("cam-one.example")) << damaged;
    }
    ASSERT_TRUE(SavedCredentials::Save("cam-one.example", second)) << "what can't be read is replaced";
    EXPECT_EQ(SavedCredentials::Load("cam-one.example"), second);
}

TEST(SavedCredentials, RefuseWhatCannotBeKept) {
    const SignIn signIn{"me", "secret"};
    EXPECT_FALSE(SavedCredentials::Save("", signIn));
    EXPECT_FALSE(SavedCredentials::Save(std::string(256, 'a'), signIn));
    EXPECT_FALSE(SavedCredentials::Save("cam", {"me", std::string(5000, 'p')}));
    EXPECT_FALSE(SavedCredentials::Load(""));
}

}  // namespace
}  // namespace norix::test
