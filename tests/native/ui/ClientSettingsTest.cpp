#include "ui/ClientSettings.h"

#include <gtest/gtest.h>

namespace norix::test {
namespace {

EnteredSettings Entered() {
    EnteredSettings entered;
    entered.recordFolder = L"C:\\Videos";
    entered.recordMiB = L"200";
    entered.recordSeconds = L"";
    entered.snapshotFolder = L"\\\\server\\pictures";
    return entered;
}

TEST(ClientSettings, AreTakenAsEntered) {
    EnteredSettings entered = Entered();
    entered.chosen.video = 2;
    entered.chosen.stream = 3;
    ClientSettings settings;
    ASSERT_EQ(TakeEntered(entered, settings), ClientSettingsFault::kNone);
    EXPECT_EQ(settings.video, 2u);
    EXPECT_EQ(settings.stream, 3);
    EXPECT_EQ(settings.recordFolder, L"C:\\Videos");
    EXPECT_EQ(settings.recordMiB, 200);
    EXPECT_EQ(settings.recordSeconds, 0);
    EXPECT_EQ(settings.snapshotFolder, L"\\\\server\\pictures");
}

TEST(ClientSettings, NameWhatIsWrong) {
    using Fault = ClientSettingsFault;
    const auto fault = [](auto member, const wchar_t* text) {
        EnteredSettings entered = Entered();
        entered.*member = text;
        ClientSettings settings;
        settings.stream = 9;
        const Fault found = TakeEntered(entered, settings);
        EXPECT_EQ(settings.stream == 9, found != Fault::kNone) << "nothing is taken of what is wrong";
        return found;
    };
    for (const wchar_t* folder : {L"Videos", L"C:", L"C:Videos", L"\\Videos", L"\\\\server",
                                  L"\\\\.\\pipe\\x", L"\\\\?\\C:\\x", L"1:\\x", L"\\\\\\x\\y"}) {
        EXPECT_EQ(fault(&EnteredSettings::recordFolder, folder), Fault::kRecordFolder) << folder;
        EXPECT_EQ(fault(&EnteredSettings::snapshotFolder, folder), Fault::kSnapshotFolder) << folder;
    }
    EXPECT_EQ(fault(&EnteredSettings::recordFolder, L"d:/Videos"), Fault::kNone);
    for (const wchar_t* number : {L"-1", L"1.5", L" 1", L"1048577", L"99999999999999999999", L"x"})
        EXPECT_EQ(fault(&EnteredSettings::recordMiB, number), Fault::kSize) << number;
    EXPECT_EQ(fault(&EnteredSettings::recordMiB, L"1048576"), Fault::kNone);
    EXPECT_EQ(fault(&EnteredSettings::recordSeconds, L"86401"), Fault::kTime);
    EXPECT_EQ(fault(&EnteredSettings::recordSeconds, L"86400"), Fault::kNone);
}

TEST(ClientSettings, ComeBackFromTheirValues) {
    ClientSettings settings;
    settings.video = 8;
    settings.protocol = 3;
    settings.stream = 2;
    settings.recordFolder = L"C:\\Videos";
    settings.recordMiB = 7;
    settings.recordSeconds = 60;
    settings.snapshotFolder = L"C:\\Pictures";
    settings.statistics = true;
    ClientSettings read;
    for (const auto& [name, text] : ToValues(settings))
        TakeValue(read, name, text);
    EXPECT_EQ(read, settings);
    // What others have written there may be anything.
    for (const auto& [name, text] : ToValues(settings))
        for (const wchar_t* nonsense : {L"", L"-3", L"99999999999", L"..\\x", L"\x7F"})
            if (*nonsense != 0 || text[0] != L'C') TakeValue(read, name, nonsense);
    EXPECT_EQ(read, settings);
}

TEST(ClientSettings, OfferTheStreamsThatTheCameraHas) {
    const auto known = StreamChoices({4, 6}, 5);
    ASSERT_EQ(known.size(), 2u);
    EXPECT_EQ(known[1].number, 2);
    EXPECT_EQ(known[1].codecs, 6);
    EXPECT_EQ(StreamChoices({}, 1).size(), 4u) << "a camera that has not said anything";
    EXPECT_EQ(StreamChoices({}, 6).size(), 6u);
    EXPECT_EQ(StreamChoices({}, 100000).size(), 16u);
}

}  // namespace
}  // namespace norix::test
