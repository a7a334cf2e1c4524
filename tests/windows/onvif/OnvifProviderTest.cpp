#include "camera/onvif/OnvifProvider.h"

#include <gmock/gmock.h>

namespace norix {
namespace {

struct NoCamera : HttpTransport {
    HttpReply Send(const HttpRequest&) override {
        ++requests;
        return {};
    }
    int requests = 0;
};

bool IsLoaded() {
    return GetModuleHandleW(kKsOnvifLibraryFile) != nullptr;
}

std::wstring LibraryObject() {
    wchar_t value[16] = L"";
    GetEnvironmentVariableW(L"NORIX_TEST_MEDIA", value, 16);
    return value;
}

class OnvifProviderTest : public testing::Test {
  protected:
    OnvifProviderTest() {
        SetEnvironmentVariableW(L"NORIX_TEST_MEDIA", nullptr);
        question.host = "camera";
        question.protocol = kKsOnvifTcp;
    }
    NoCamera camera;
    OnvifQuestion question;
};

TEST_F(OnvifProviderTest, MakersLibraryAnswersIfItIsThere) {
    {
        OnvifProvider provider(camera, util::OwnModuleFolder() + L"right\\");
        EXPECT_TRUE(provider.IsMakers());
        const auto stream = AskOnvif(provider.Media(), question);
        ASSERT_TRUE(stream);
        EXPECT_EQ(stream->uri, "rtsp://camera/makers");
        EXPECT_EQ(stream->profileToken, std::string(kKsOnvifTokenRoom - 1, 't'));
        EXPECT_EQ(stream->frameRateLimit, 0u);
        question.profileToken = "other";
        EXPECT_FALSE(AskOnvif(provider.Media(), question));
    }
    EXPECT_EQ(camera.requests, 0);
    EXPECT_EQ(LibraryObject(), L"released");
    EXPECT_FALSE(IsLoaded());
}

TEST_F(OnvifProviderTest, OursAnswersOtherwise) {
    // In the current folder there is a library that mustn't be found.
    const std::wstring folder = util::OwnModuleFolder();
    ASSERT_TRUE(SetCurrentDirectoryW((folder + L"right").c_str()));
    int requests = 0;
    for (const std::wstring& where :
         {folder + L"refusing\\", folder + L"foreign\\", folder + L"empty\\", folder, std::wstring()}) {
        OnvifProvider provider(camera, where);
        EXPECT_FALSE(provider.IsMakers());
        EXPECT_FALSE(IsLoaded());
        EXPECT_FALSE(AskOnvif(provider.Media(), question));
        EXPECT_EQ(camera.requests, ++requests);
        EXPECT_NE(LibraryObject(), L"alive");
    }
    EXPECT_EQ(LibraryObject(), L"released");  // the foreign one's
    SetCurrentDirectoryW(folder.c_str());
}

}  // namespace
}  // namespace norix
