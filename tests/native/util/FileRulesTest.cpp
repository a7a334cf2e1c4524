// Names and folders that must not reach the system, and those that must get through unchanged.

#include "util/FileRules.h"

#include <gtest/gtest.h>

namespace util {
namespace {

FileWish Page(std::wstring folder, std::wstring name) {
    return {TrustLevel::kWeb, std::move(folder), std::move(name), L".jpg", L"C:\\Users\\eva\\Clips"};
}

FileWish Program(std::wstring folder, std::wstring name) {
    return {TrustLevel::kTrusted, std::move(folder), std::move(name), L"", L""};
}

TEST(FileRules, NamesThatAreMoreThanAName) {
    const struct {
        std::wstring name;
        FileFault fault;
    } cases[] = {
        {L"2026_1_2.avi", FileFault::kNone},
        {L"door (2).avi", FileFault::kNone},
        {L".hidden", FileFault::kNone},
        {L"consul.avi", FileFault::kNone},
        {L"com.avi", FileFault::kNone},
        {L"com12.avi", FileFault::kNone},
        {std::wstring(255, L'a'), FileFault::kNone},
        {std::wstring(256, L'a'), FileFault::kTooLong},
        {L"", FileFault::kNoName},
        {L".", FileFault::kWayUp},
        {L"..", FileFault::kWayUp},
        {L"..\\a", FileFault::kSeparator},
        {L"a/b", FileFault::kSeparator},
        {L"a:b", FileFault::kStream},
        {L"a.avi::$DATA", FileFault::kStream},
        {std::wstring(L"a\0.exe", 6), FileFault::kBadCharacter},
        {L"a\n", FileFault::kBadCharacter},
        {L"a?", FileFault::kBadCharacter},
        {L"a|b", FileFault::kBadCharacter},
        {L"a.", FileFault::kTrailing},
        {L"a ", FileFault::kTrailing},
        {L"...", FileFault::kTrailing},
        {L"CON", FileFault::kDevice},
        {L"nul.avi", FileFault::kDevice},
        {L"Aux .tar.gz", FileFault::kDevice},
        {L"COM1.x", FileFault::kDevice},
        {L"lpt9", FileFault::kDevice},
        {L"com\u00B9", FileFault::kDevice},
        {L"CONOUT$", FileFault::kDevice},
    };
    for (const auto& c : cases)
        EXPECT_EQ(Describe(CheckName(c.name)), Describe(c.fault)) << testing::PrintToString(c.name);
}

TEST(FileRules, AProgramNamesAnyFolderButADevice) {
    for (const wchar_t* folder :
         {L"C:\\rec", L"C:\\rec\\", L"C:/rec", L"C:", L"\\\\nas\\video\\door", L"rec\\..\\other", L"..",
          L"\\rec", L"C:\\odd.\\dir ", L"\\\\?\\C:\\very\\long", L"\\\\?\\UNC\\nas\\video"}) {
        const FilePlace place = PlaceFile(Program(folder, L"a.avi"));
        EXPECT_EQ(place.fault, FileFault::kNone) << testing::PrintToString(std::wstring(folder));
        EXPECT_EQ(place.folder.substr(0, wcslen(folder)), folder);
        EXPECT_EQ(place.name, L"a.avi");
    }
    EXPECT_EQ(PlaceFile(Program(L"C:\\rec", L"a.avi")).folder, L"C:\\rec\\");
    EXPECT_EQ(PlaceFile(Program(L"C:", L"a.avi")).folder, L"C:");
    EXPECT_EQ(PlaceFile(Program(L"", L"a.avi")).folder, L"");

    const struct {
        std::wstring folder;
        FileFault fault;
    } refused[] = {
        {L"\\\\.\\pipe", FileFault::kDevice},       {L"//./C:", FileFault::kDevice},
        {L"\\\\?\\GLOBALROOT", FileFault::kDevice}, {L"\\\\?\\C:\\a:b", FileFault::kStream},
        {L"C:\\dir:stream", FileFault::kStream},    {L"C:\\con\\x", FileFault::kDevice},
        {L"C:\\a*", FileFault::kBadCharacter},      {std::wstring(L"C:\\a\0b", 6), FileFault::kBadCharacter},
    };
    for (const auto& c : refused) {
        EXPECT_STREQ(Describe(PlaceFile(Program(c.folder, L"a")).fault), Describe(c.fault))
            << testing::PrintToString(c.folder);
    }
}

TEST(FileRules, APageStaysBelowThePickedFolder) {
    const struct {
        std::wstring folder, name, path;
    } allowed[] = {
        {L"", L"a", L"C:\\Users\\eva\\Clips\\a.jpg"},
        {L"c:/users/EVA/clips", L"a.JPG", L"C:\\Users\\eva\\Clips\\a.JPG"},
        {L"C:\\Users\\eva\\Clips\\door\\", L"a.exe", L"C:\\Users\\eva\\Clips\\door\\a.exe.jpg"},
        {L"door//today", L".jpg", L"C:\\Users\\eva\\Clips\\door\\today\\.jpg.jpg"},
    };
    for (const auto& c : allowed) {
        const FilePlace place = PlaceFile(Page(c.folder, c.name));
        EXPECT_EQ(place.fault, FileFault::kNone) << testing::PrintToString(c.folder);
        EXPECT_EQ(place.folder + place.name, c.path);
        EXPECT_EQ(place.folder.substr(0, place.rootLength), L"C:\\Users\\eva\\Clips\\");
    }

    const struct {
        std::wstring folder, name;
        FileFault fault;
    } refused[] = {
        {L"C:\\Users\\eva", L"a", FileFault::kOutside},
        {L"C:\\Users\\eva\\Clips2", L"a", FileFault::kOutside},
        {L"D:", L"a", FileFault::kOutside},
        {L"\\Windows", L"a", FileFault::kOutside},
        {L"\\\\evil\\share", L"a", FileFault::kOutside},
        {L"\\\\?\\C:\\Users\\eva\\Clips", L"a", FileFault::kOutside},
        {L"C:\\Users\\eva\\Clips\\..\\x", L"a", FileFault::kWayUp},
        {L"..", L"a", FileFault::kWayUp},
        {L".\\x", L"a", FileFault::kWayUp},
        {L"nul", L"a", FileFault::kDevice},
        {L"x. ", L"a", FileFault::kTrailing},
        {L"xx:y", L"a", FileFault::kStream},
        {L"", L"..\\a", FileFault::kSeparator},
        {L"", L"con", FileFault::kDevice},
        {L"", std::wstring(L"a.exe\0", 6), FileFault::kBadCharacter},
        {L"", L"", FileFault::kNoName},
    };
    for (const auto& c : refused) {
        EXPECT_STREQ(Describe(PlaceFile(Page(c.folder, c.name)).fault), Describe(c.fault))
            << testing::PrintToString(c.folder) << " " << testing::PrintToString(c.name);
    }

    FileWish wish = Page(L"C:\\rec", L"a");
    wish.root.clear();
    EXPECT_EQ(PlaceFile(wish).fault, FileFault::kNotGranted);
    wish = Page(L"d:\\rec", L"a");
    wish.root = L"D:\\";
    EXPECT_EQ(PlaceFile(wish).folder, L"D:\\rec\\");
}

TEST(FileRules, SplitsPathsAndNumbersNames) {
    using Parts = std::pair<std::wstring, std::wstring>;
    EXPECT_EQ(SplitPath(L"C:\\rec\\a.avi"), Parts(L"C:\\rec\\", L"a.avi"));
    EXPECT_EQ(SplitPath(L"C:\\recname.avi"), Parts(L"C:\\", L"recname.avi"));
    EXPECT_EQ(SplitPath(L"C:a.avi"), Parts(L"C:", L"a.avi"));
    EXPECT_EQ(SplitPath(L"a.avi"), Parts(L"", L"a.avi"));
    EXPECT_EQ(SplitPath(L"\\\\nas\\v\\"), Parts(L"\\\\nas\\v\\", L""));

    EXPECT_EQ(NumberedName(L"clip.avi", 2), L"clip (2).avi");
    EXPECT_EQ(NumberedName(L"a.b.avi", 13), L"a.b (13).avi");
    EXPECT_EQ(NumberedName(L"clip", 2), L"clip (2)");
    EXPECT_EQ(NumberedName(std::wstring(251, L'x') + L".avi", 10), std::wstring(246, L'x') + L" (10).avi");
    EXPECT_EQ(CheckName(NumberedName(L"." + std::wstring(254, L'x'), 2)), FileFault::kNone);
    EXPECT_EQ(CheckName(NumberedName(L"a." + std::wstring(253, L'x'), 2)), FileFault::kNone);
}

}  // namespace
}  // namespace util
