#include "util/Registry.h"

#include <gtest/gtest.h>

#include "PrivateHives.h"
#include "util/Settings.h"

namespace util {
namespace {

constexpr wchar_t kKey[] = L"Software\\Test";

class RegistryTest : public testing::Test {
  protected:
    test::PrivateHives m_hives;
};

using SettingsTest = RegistryTest;

TEST_F(RegistryTest, IntRegReadsNothingButDwords) {
    m_hives.Store(HKEY_LOCAL_MACHINE, kKey, L"good", 0xFFFFFFFF);
    m_hives.Store(HKEY_LOCAL_MACHINE, kKey, L"text", std::wstring(L"5"));
    m_hives.Store(HKEY_LOCAL_MACHINE, kKey, L"binary", REG_BINARY, "abcd", 4);
    m_hives.Store(HKEY_LOCAL_MACHINE, kKey, L"short", REG_DWORD, "ab", 2);
    m_hives.Store(HKEY_LOCAL_MACHINE, kKey, L"long", REG_DWORD, "abcdefgh", 8);

    const IntReg good(HKEY_LOCAL_MACHINE, kKey, L"good");
    EXPECT_TRUE(good.Exists());
    EXPECT_EQ(good.Value(), 0xFFFFFFFFu);
    for (const wchar_t* name : {L"text", L"binary", L"short", L"long", L"none"}) {
        const IntReg missing(HKEY_LOCAL_MACHINE, kKey, name);
        EXPECT_FALSE(missing.Exists()) << name;
        EXPECT_EQ(missing.Value(), 0u);
    }
    EXPECT_FALSE(IntReg(HKEY_LOCAL_MACHINE, L"Software\\None", L"good").Exists());
}

TEST_F(RegistryTest, StringRegReadsStringsHoweverTheyWereWritten) {
    struct Case {
        std::string name;
        std::string bytes;
        std::wstring text;
    };
    const Case cases[] = {
        {"terminated", {"a\0b\0\0\0", 6}, L"ab"},
        {"bare", {"a\0b\0", 4}, L"ab"},
        {"odd", {"a\0b\0c", 5}, L"ab"},
        {"twice", {"a\0\0\0\0\0", 6}, L"a"},
        {"rest", {"a\0\0\0b\0\0\0", 8}, L"a"},
        {"empty", {"", 0}, L""},
        {"half", {"a", 1}, L""},
        {"longest", std::string(2 * 32767, 'a'), std::wstring(32767, 0x6161)},
    };
    for (const Case& c : cases) {
        m_hives.Store(HKEY_LOCAL_MACHINE, kKey, L"value", REG_SZ, c.bytes.data(),
                      static_cast<DWORD>(c.bytes.size()));
        const StringReg value(HKEY_LOCAL_MACHINE, kKey, L"value");
        EXPECT_TRUE(value.Exists()) << c.name;
        EXPECT_EQ(value.Value(), c.text) << c.name;
    }
    m_hives.Store(HKEY_LOCAL_MACHINE, kKey, L"number", 5);
    m_hives.Store(HKEY_LOCAL_MACHINE, kKey, L"huge", std::wstring(100'000, L'x'));
    m_hives.Store(HKEY_LOCAL_MACHINE, kKey, L"expand", REG_EXPAND_SZ, L"%TEMP%", 14);
    for (const wchar_t* name : {L"number", L"huge", L"expand", L"none"}) {
        EXPECT_FALSE(StringReg(HKEY_LOCAL_MACHINE, kKey, name).Exists()) << name;
    }
}

TEST_F(RegistryTest, StringRegCreatesItsKeyOnlyWhenAsked) {
    StringReg reader(HKEY_CURRENT_USER, kKey, L"value");
    EXPECT_FALSE(reader.Set(L"x"));
    HKEY opened = nullptr;
    EXPECT_EQ(RegOpenKeyW(HKEY_CURRENT_USER, kKey, &opened), ERROR_FILE_NOT_FOUND);

    StringReg writer(HKEY_CURRENT_USER, kKey, L"value", true);
    EXPECT_FALSE(writer.Exists());
    EXPECT_TRUE(writer.Set(L"text"));
    EXPECT_EQ(writer.Value(), L"text");
    EXPECT_EQ(StringReg(HKEY_CURRENT_USER, kKey, L"value").Value(), L"text");
}

}  // namespace
}  // namespace util
