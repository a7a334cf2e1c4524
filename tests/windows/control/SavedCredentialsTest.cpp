#include "control/connection/SavedCredentials.h"

#include <windows.h>

#include <dpapi.h>
#include <gtest/gtest.h>
#include <wincrypt.h>

#include "protocol/Text.h"
#include "util/Registry.h"
#include "util/Text.h"

namespace norix::test {
namespace {

constexpr wchar_t kKey[] = L"Software\\Norix\\Credentials";

protocol::Origin Camera(const char* host, const char* scheme = "http", std::uint16_t port = 80) {
    return protocol::makeOrigin(scheme, host, port);
}

TEST(SavedCredentials, AreKeptPerOriginAndUnreadable) {
    const SignIn first{"me", "s3cret \xE4\xB8\xAD"};
    const SignIn second{"you", ""};
    ASSERT_TRUE(SavedCredentials::Save(Camera("Cam-One.example"), first));
    ASSERT_TRUE(SavedCredentials::Save(Camera("cam-two.example"), second));
    EXPECT_EQ(SavedCredentials::Load(Camera("cam-one.EXAMPLE.")), first);
    EXPECT_EQ(SavedCredentials::Load(Camera("cam-two.example")), second);
    for (const protocol::Origin& other :
         {Camera("cam-three.example"), Camera("cam-one.example", "https", 443),
          Camera("cam-one.example", "http", 81), Camera("cam-one.example", "rtsp", 554)}) {
        EXPECT_FALSE(SavedCredentials::Load(other)) << protocol::toText(other);
    }

    util::StringReg stored(HKEY_CURRENT_USER, kKey, L"http://cam-one.example:80", true);
    ASSERT_TRUE(stored.Exists());
    EXPECT_EQ(stored.Value().find(L"s3cret"), std::wstring::npos);

    // One origin's secret says nothing under another one's name, nor once it is damaged.
    util::StringReg other(HKEY_CURRENT_USER, kKey, L"http://cam-two.example:80", true);
    ASSERT_TRUE(other.Set(stored.Value()));
    EXPECT_FALSE(SavedCredentials::Load(Camera("cam-two.example")));
    for (const wchar_t* damaged : {L"", L"0", L"zz", L"00ff"}) {
        ASSERT_TRUE(stored.Set(damaged));
        EXPECT_FALSE(SavedCredentials::Load(Camera("cam-one.example"))) << damaged;
    }
    ASSERT_TRUE(SavedCredentials::Save(Camera("cam-one.example"), second))
        << "what can't be read is replaced";
    EXPECT_EQ(SavedCredentials::Load(Camera("cam-one.example")), second);
}

// One that an earlier version saved for cam.example: "me", "old".
TEST(SavedCredentials, OfEarlierVersionsCountForTheUsualPorts) {
    std::wstring name = L"cam.example";
    std::wstring text = std::wstring(L"me") + L'\0' + L"old";
    DATA_BLOB plain = {static_cast<DWORD>(text.size() * sizeof(wchar_t)),
                       reinterpret_cast<BYTE*>(text.data())};
    DATA_BLOB entropy = {static_cast<DWORD>(name.size() * sizeof(wchar_t)),
                         reinterpret_cast<BYTE*>(name.data())};
    DATA_BLOB secret = {};
    ASSERT_TRUE(
        CryptProtectData(&plain, nullptr, &entropy, nullptr, nullptr, CRYPTPROTECT_UI_FORBIDDEN, &secret));
    const std::wstring hex = util::Utf8ToWide(protocol::toHex(secret.pbData, secret.cbData));
    LocalFree(secret.pbData);
    ASSERT_TRUE(util::StringReg(HKEY_CURRENT_USER, kKey, name.c_str(), true).Set(hex));

    const SignIn old{"me", "old"};
    EXPECT_EQ(SavedCredentials::Load(Camera("cam.example")), old);
    EXPECT_EQ(SavedCredentials::Load(Camera("cam.example", "rtsp", 554)), old);
    EXPECT_FALSE(SavedCredentials::Load(Camera("cam.example", "http", 8080)));
    EXPECT_FALSE(SavedCredentials::Load(Camera("cam.example", "https", 443)));
    const SignIn fresh{"me", "new"};
    ASSERT_TRUE(SavedCredentials::Save(Camera("cam.example"), fresh));
    EXPECT_EQ(SavedCredentials::Load(Camera("cam.example")), fresh);
}

TEST(SavedCredentials, RefuseWhatCannotBeKept) {
    const SignIn signIn{"me", "secret"};
    EXPECT_FALSE(SavedCredentials::Save(Camera(""), signIn));
    EXPECT_FALSE(SavedCredentials::Save(Camera(std::string(256, 'a').c_str()), signIn));
    EXPECT_FALSE(SavedCredentials::Save(Camera("cam"), {"me", std::string(5000, 'p')}));
    EXPECT_FALSE(SavedCredentials::Load(Camera("")));
}

}  // namespace
}  // namespace norix::test
