#include "control/connection/SavedCredentials.h"

#include <gtest/gtest.h>

#include "util/Registry.h"

namespace norix::test {
namespace {

constexpr wchar_t kKey[] = L"Software\\Norix\\Credentials";

TEST(SavedCredentials, AreKeptPerServerAndUnreadable) {
    const SignIn first{L"me", L"s3cret \x4E2D"};
    const SignIn second{L"you", L""};
    ASSERT_TRUE(SavedCredentials::Save(L"Cam-One.example", first));
    ASSERT_TRUE(SavedCredentials::Save(L"cam-two.example", second));
    EXPECT_EQ(SavedCredentials::Load(L"cam-one.EXAMPLE"), first);
    EXPECT_EQ(SavedCredentials::Load(L"cam-two.example"), second);
    EXPECT_FALSE(SavedCredentials::Load(L"cam-three.example"));

    util::StringReg stored(HKEY_CURRENT_USER, kKey, L"cam-one.example", true);
    ASSERT_TRUE(stored.Exists());
    EXPECT_EQ(stored.Value().find(L"s3cret"), std::wstring::npos);

    // One server's secret says nothing under another one's name, nor once it is damaged.
    util::StringReg other(HKEY_CURRENT_USER, kKey, L"cam-two.example", true);
    ASSERT_TRUE(other.Set(stored.Value()));
    EXPECT_FALSE(SavedCredentials::Load(L"cam-two.example"));
    for (const wchar_t* damaged : {L"", L"0", L"zz", L"00ff"}) {
        ASSERT_TRUE(stored.Set(damaged));
        EXPECT_FALSE(SavedCredentials::Load(L"cam-one.example")) << damaged;
    }
    ASSERT_TRUE(SavedCredentials::Save(L"cam-one.example", second)) << "what can't be read is replaced";
    EXPECT_EQ(SavedCredentials::Load(L"cam-one.example"), second);
}

TEST(SavedCredentials, RefuseWhatCannotBeKept) {
    const SignIn signIn{L"me", L"secret"};
    EXPECT_FALSE(SavedCredentials::Save(L"", signIn));
    EXPECT_FALSE(SavedCredentials::Save(std::wstring(256, L'a'), signIn));
    EXPECT_FALSE(SavedCredentials::Save(L"cam", {L"me", std::wstring(5000, L'p')}));
    EXPECT_FALSE(SavedCredentials::Load(L""));
}

}  // namespace
}  // namespace norix::test
