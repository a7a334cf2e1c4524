#include "render/decode/Decoder.h"

#include <utility>

#include "render/decode/DecodeLoop.h"
#include "render/overlay/GraphicObjects.h"
#include "render/present/DisplayLoop.h"
#include "render/present/Repaint.h"
#include "render/snapshot/SnapshotThread.h"
#include "util/Log.h"
#include "util/Settings.h"
#include "util/TimeDiff.h"

namespace norix {
namespace {

DecoderSettings ReadSettings() {
    DecoderSettings settings;
    settings.enableTimeSync = util::Settings::EnableTimeSync();
    settings.enableVSync = util::Settings::EnableVSync();
    settings.smoothScaling = util::Settings::SmoothScaling();
    settings.displayBufferNum = util::Settings::DisplayBufferNum();
    settings.displayBufferSize = util::Settings::DisplayBufferSize();
    return settings;
}

unsigned HandleNumber(HANDLE handle) {
    return static_cast<unsigned>(reinterpret_cast<std::uintptr_t>(handle));
}

}  // namespace

CDecoder::CDecoder(std::uint32_t kind) : CDecoder(kind, ReadSettings()) {}

CDecoder::CDecoder(std::uint32_t kind, const DecoderSettings& settings)
    : m_kind(kind),
      m_settings(ApplyZeroRules(settings)),
      m_overlays(std::make_shared<GraphicObjects>()),
      m_snapshots(std::make_shared<SnapshotThread>(LargestPicture(m_settings))) {
    NORIX_LOG("CDecoder::CDecoder", 0, "DisplayBufferNum = %u, DisplayBufferSize = %u (KB)",
              m_settings.displayBufferNum,
              m_settings.displayBufferSize.value_or(kDefaultDisplayBufferSize) >> 10);
    m_pipeline = std::make_shared<Pipeline>(static_cast<VideoCodec>(kind), m_settings);
    m_pipeline->snapshots = m_snapshots;
    // A codec library's threading runtime must tolerate a second copy of itself in the process.
    SetEnvironmentVariableW(L"KMP_DUPLICATE_LIB_OK", L"TRUE");
}

CDecoder::~CDecoder() {
    const util::CTimeDiff timing("CDecoder::~CDecoder()");
    Stop();
    // Pictures, queues, presenter and codec go with the last owner, which is a thread only if it was
    // abandoned.
    m_pipeline.reset();
}

void CDecoder::StopOutput() {
    m_pipeline->decodeRunning.store(false);
    m_pipeline->gate.Close();
    m_pipeline->displayRunning.store(false);
}

bool CDecoder::Stop() {
    if (std::exchange(m_stopped, true)) return m_ended;
    StopOutput();
    {
        const util::CTimeDiff timing("CDecoder::~CDecoder() Exit Decode Thread");
        if (!m_decodeThread.Stop()) m_ended = false;
    }
    const util::CTimeDiff timing("CDecoder::~CDecoder() Exit Display Thread");
    if (!m_displayThread.Stop()) m_ended = false;
    // One that is stuck at a share holds nothing of the connection: the next one need not wait for it.
    m_snapshots->Stop();
    return m_ended;
}

void CDecoder::SetPresenter(std::shared_ptr<Presenter> presenter, bool gdiForced) {
    if (!presenter) return;
    m_hasPresenter = true;
    m_gdiForced = gdiForced;
    if (m_decodeThread.Started() || m_displayThread.Started()) {
        m_pipeline->OfferSink(std::move(presenter));
    } else {
        m_pipeline->sink = std::move(presenter);
    }
}

const std::shared_ptr<PictureView>& CDecoder::View() const {
    return m_pipeline->view;
}

void CDecoder::AttachView(std::shared_ptr<PictureView> view) {
    if (view && !m_decodeThread.Started()) m_pipeline->view = std::move(view);
}

bool CDecoder::DrawLast(HDC dc, const RECT& target) {
    return DrawKept(m_pipeline->kept, *View(), m_overlays.get(), m_window, m_settings.smoothScaling, dc,
                    target);
}

bool CDecoder::IsStill() const {
    constexpr std::uint32_t kWhile = 200;  // milliseconds
    return platform::TimerMs() - m_pipeline->shownAt.load(std::memory_order_relaxed) > kWhile;
}

Result CDecoder::CreateDisplayThread() {
    if (m_displayThread.Started()) return kResultOk;
    if (m_stopped || !m_hasPresenter) return kResultFail;
    const bool started =
        m_displayThread.Start(THREAD_PRIORITY_HIGHEST, [pipeline = m_pipeline](util::StopToken&) {
            NORIX_LOG("CDecoder::DisplayThread", 0, "CDecoder::DisplayThread() begins");
            DisplayLoop(*pipeline).Run();
            NORIX_LOG("CDecoder::DisplayThread", 0, "CDecoder::DisplayThread() ends");
        });
    if (!started) return kResultFail;
    NORIX_LOG("CDecoder::CreateDisplayThread", 0,
              "Create Display thread (handle = 0x%08X, id = %d) with highest priority.",
              HandleNumber(m_displayThread.Handle()), static_cast<int>(m_displayThread.Id()));
    return kResultOk;
}

Result CDecoder::StartDecThread(std::shared_ptr<CCtrlParam> param) {
    if (!param) return kResultInvalidArgument;
    if (m_decodeThread.Started()) return kResultOk;
    if (m_stopped || !m_hasPresenter) return kResultFail;
    m_pipeline->param = std::move(param);
    const bool started =
        m_decodeThread.Start(THREAD_PRIORITY_NORMAL, [pipeline = m_pipeline](util::StopToken&) {
            NORIX_LOG("CDecoder::DecThread", 0, "CDecoder::DecThread() begins");
            DecodeLoop(*pipeline).Run();
            NORIX_LOG("CDecoder::DecThread", 0, "CDecoder::DecThread() ends");
        });
    if (!started) return kResultFail;
    NORIX_LOG("CDecoder::StartDecThread", 0, "Create Decode thread (handle = 0x%08X, id = %d)",
              HandleNumber(m_decodeThread.Handle()), static_cast<int>(m_decodeThread.Id()));
    return kResultOk;
}

}  // namespace norix
