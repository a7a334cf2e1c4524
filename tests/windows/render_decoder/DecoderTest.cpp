#include "render/decode/Decoder.h"

#include <gtest/gtest.h>

#include <atomic>
#include <functional>

#include "tests/native/codec/Corpus.h"
#include "tests/support/NullPresenter.h"
#include "util/Handles.h"

namespace norix {
namespace {

using codec::test::LoadPackets;

constexpr char kClip[] = "h264_baseline_64x48";

DecoderSettings SmallSettings() {
    DecoderSettings settings;
    settings.enableTimeSync = false;
    settings.displayBufferSize = 352 * 288 * 3;
    return settings;
}

bool WaitFor(const std::function<bool()>& condition, DWORD milliseconds = 5000) {
    const DWORD begin = GetTickCount();
    while (!condition()) {
        if (GetTickCount() - begin > milliseconds) return false;
        Sleep(1);
    }
    return true;
}

// Presents by running a function on the display thread.
class CallingPresenter final : public Presenter {
  public:
    explicit CallingPresenter(std::function<void()> present) : m_present(std::move(present)) {}
    codec::PixelFormat Format() const override { return codec::PixelFormat::kYuy2; }
    HRESULT Initialize(int, int) override { return S_OK; }
    HRESULT Present(const Picture&) override {
        m_present();
        return S_OK;
    }
    void DisplayChanged() override {}

  private:
    const std::function<void()> m_present;
};

class DecoderTest : public testing::Test {
  protected:
    DecoderTest() : m_param(std::make_shared<CCtrlParam>(NoDrops())) { Make(4); }

    // Every frame is shown, however busy the machine is.
    static MediaSettings NoDrops() {
        MediaSettings settings;
        settings.enableDecodeFrameDrop = false;
        settings.enableDisplayFrameDrop = false;
        return settings;
    }

    void Make(std::uint32_t kind) {
        m_decoder.reset();
        m_decoder = std::make_unique<CDecoder>(kind, SmallSettings());
        m_param->videoCodec.Set(static_cast<VideoCodec>(kind));
    }
    void Start(std::shared_ptr<Presenter> presenter) {
        m_decoder->SetPresenter(std::move(presenter));
        ASSERT_EQ(m_decoder->CreateDisplayThread(), kResultOk);
        ASSERT_EQ(m_decoder->StartDecThread(m_param), kResultOk);
    }
    void InsertFrames(std::size_t count) {
        const auto packets = LoadPackets(kClip);
        for (std::size_t i = 0; i < count; ++i) {
            const auto& packet = packets[i % packets.size()];
            m_param->InsertFrameToVideoBuffer(packet.data(), packet.size(), 0, i % packets.size() ? 1 : 0);
        }
    }

    std::shared_ptr<CCtrlParam> m_param;
    std::unique_ptr<CDecoder> m_decoder;
};

int s_received = 0;

LRESULT CALLBACK CountSnapshots(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    if (message == WM_OnSnapshotData) ++s_received;
    return DefWindowProcW(window, message, wParam, lParam);
}

// The snapshot thread is inside SendMessage to the very thread that stops it.
TEST_F(DecoderTest, StoppingAnswersWhatItsThreadsAreSending) {
    s_received = 0;
    WNDCLASSW windowClass = {};
    windowClass.lpszClassName = L"NorixDecoderTest";
    windowClass.lpfnWndProc = CountSnapshots;
    RegisterClassW(&windowClass);
    const HWND window =
        CreateWindowW(windowClass.lpszClassName, L"", 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr, nullptr, nullptr);
    ASSERT_NE(window, nullptr);
    m_param->window.Set(window);
    Start(std::make_shared<NullPresenter>(codec::PixelFormat::kYuy2));
    // Pictures are shown on while the first one waits for this thread.
    for (int i = 0; i < 2; ++i) {
        m_param->snapshots.RequestData(1);
        InsertFrames(1);
        ASSERT_TRUE(WaitFor([&] { return !m_param->snapshots.DataWanted(); }));
    }
    const DWORD begin = GetTickCount();
    m_decoder.reset();
    EXPECT_LT(GetTickCount() - begin, 1000u);
    EXPECT_EQ(s_received, 2);
    m_param->window.Set(nullptr);
    DestroyWindow(window);
    UnregisterClassW(windowClass.lpszClassName, nullptr);
}

TEST_F(DecoderTest, AThreadThatHangsIsAbandonedAndDoesNoHarmLater) {
    util::Event inside(util::Event::Kind::kManualReset);
    util::Event goOn(util::Event::Kind::kManualReset);
    auto presenter = std::make_shared<CallingPresenter>([&] {
        inside.Set();
        goOn.Wait(INFINITE);
    });
    const std::weak_ptr<Presenter> watched = presenter;
    Start(std::move(presenter));
    InsertFrames(1);
    ASSERT_TRUE(inside.Wait(5000));
    const DWORD begin = GetTickCount();
    EXPECT_FALSE(m_decoder->Stop());
    const DWORD took = GetTickCount() - begin;
    EXPECT_GE(took, 5000u);
    EXPECT_LT(took, 8000u);
    m_decoder.reset();
    const std::weak_ptr<CCtrlParam> param = m_param;
    m_param.reset();
    EXPECT_FALSE(watched.expired());
    EXPECT_FALSE(param.expired());
    goOn.Set();
    // The thread finishes its picture with all that it shares, and lets go of everything.
    EXPECT_TRUE(WaitFor([&] { return watched.expired() && param.expired(); }));
}

}  // namespace
}  // namespace norix
