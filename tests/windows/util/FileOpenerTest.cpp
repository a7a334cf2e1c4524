// What the opener does to the disk: which files it makes, and which of those that are there it leaves alone.

#include "util/FileOpener.h"

#include <gtest/gtest.h>

#include <string_view>

namespace util {
namespace {

class FileOpenerTest : public testing::Test {
  protected:
    void SetUp() override {
        wchar_t temp[MAX_PATH] = {};
        GetTempPathW(MAX_PATH, temp);
        m_folder = std::wstring(temp) + L"opener" + std::to_wstring(GetCurrentProcessId());
        ASSERT_TRUE(CreateDirectoryW(m_folder.c_str(), nullptr));
        ASSERT_TRUE(CreateDirectoryW((m_folder + L"\\below").c_str(), nullptr));
    }
    void TearDown() override {
        Clear(m_folder + L"\\below");
        Clear(m_folder);
    }

    static void Clear(const std::wstring& folder) {
        WIN32_FIND_DATAW found = {};
        const HANDLE search = FindFirstFileW((folder + L"\\*").c_str(), &found);
        ASSERT_NE(search, INVALID_HANDLE_VALUE);
        do {
            DeleteFileW((folder + L"\\" + found.cFileName).c_str());
        } while (FindNextFileW(search, &found));
        FindClose(search);
        EXPECT_TRUE(RemoveDirectoryW(folder.c_str()));
    }

    std::wstring Path(const std::wstring& name) const { return m_folder + L"\\" + name; }
    void Put(const std::wstring& name, std::string_view text) const {
        const UniqueFile file(
            CreateFileW(Path(name).c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, 0, nullptr));
        Write(file, text);
    }
    static void Write(const UniqueFile& file, std::string_view text) {
        DWORD written = 0;
        ASSERT_TRUE(WriteFile(file.Get(), text.data(), static_cast<DWORD>(text.size()), &written, nullptr));
    }
    std::string Get(const std::wstring& name) const {
        const UniqueFile file(CreateFileW(Path(name).c_str(), GENERIC_READ,
                                          FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, OPEN_EXISTING, 0,
                                          nullptr));
        if (!file) return "<none>";
        char text[64] = {};
        DWORD size = 0;
        ReadFile(file.Get(), text, sizeof(text), &size, nullptr);
        return {text, size};
    }

    FileWish Program(const std::wstring& name) const {
        return {TrustLevel::kTrusted, m_folder, name, L"", L""};
    }
    FileWish Page(const std::wstring& folder, const std::wstring& name) const {
        return {TrustLevel::kWeb, folder, name, L".jpg", m_folder};
    }

    std::wstring m_folder;
};

TEST_F(FileOpenerTest, WritesWhereTheNameIsFreeAndOnlyThere) {
    {
        const OpenedFile first = OpenForWriting(Program(L"a.avi"), Taken::kRefuse);
        ASSERT_TRUE(first);
        EXPECT_EQ(first.path, Path(L"a.avi"));
        Write(first.file, "first");
        EXPECT_EQ(Get(L"a.avi"), "first") << "others may read meanwhile";
    }
    EXPECT_EQ(OpenForWriting(Program(L"a.avi"), Taken::kRefuse).fault, FileFault::kTaken);
    EXPECT_EQ(OpenForWriting(Program(L"a.avi"), Taken::kNumber).path, Path(L"a (2).avi"));
    EXPECT_EQ(OpenForWriting(Program(L"a.avi"), Taken::kNumber).path, Path(L"a (3).avi"));
    EXPECT_EQ(Get(L"a.avi"), "first");
    EXPECT_TRUE(OpenForWriting(Program(L"a.avi"), Taken::kReplace));
    EXPECT_EQ(Get(L"a.avi"), "");

    FileWish nowhere = Program(L"a.avi");
    nowhere.folder += L"\\missing";
    EXPECT_EQ(OpenForWriting(nowhere, Taken::kReplace).fault, FileFault::kNoFolder);
    EXPECT_EQ(OpenForWriting(Program(L"below"), Taken::kReplace).fault, FileFault::kSystem);
}

TEST_F(FileOpenerTest, APageWritesOverNothing) {
    Put(L"a.jpg", "old");
    const OpenedFile opened = OpenForWriting(Page(L"", L"a"), Taken::kReplace);
    ASSERT_TRUE(opened);
    EXPECT_EQ(opened.path, Path(L"a (2).jpg"));
    EXPECT_EQ(Get(L"a.jpg"), "old");
    EXPECT_EQ(Get(L"a (2).jpg:Zone.Identifier"), "[ZoneTransfer]\r\nZoneId=3\r\n");
    DeleteFileW((opened.path + L":Zone.Identifier").c_str());  // Wine keeps a stream as a file of its own
    EXPECT_EQ(OpenForWriting(Page(L"below", L"b.exe"), Taken::kRefuse).path, Path(L"below\\b.exe.jpg"));
    DeleteFileW(Path(L"below\\b.exe.jpg:Zone.Identifier").c_str());
    EXPECT_EQ(OpenForWriting(Page(L"..", L"b"), Taken::kRefuse).fault, FileFault::kWayUp);
    EXPECT_EQ(OpenForWriting(Page(L"missing\\x", L"b"), Taken::kRefuse).fault, FileFault::kNoFolder);
}

TEST_F(FileOpenerTest, AFileWithASecondNameIsLeftAlone) {
    Put(L"secret.txt", "keep");
    ASSERT_TRUE(CreateHardLinkW(Path(L"log.txt").c_str(), Path(L"secret.txt").c_str(), nullptr));
    EXPECT_EQ(OpenForWriting(Program(L"log.txt"), Taken::kReplace).fault, FileFault::kLink);
    EXPECT_EQ(Get(L"secret.txt"), "keep");
}

}  // namespace
}  // namespace util
