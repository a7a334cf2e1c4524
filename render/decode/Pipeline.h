#pragma once

#include <atomic>
#include <memory>
#include <mutex>
#include <utility>

#include "media/CtrlParam.h"
#include "render/decode/DecoderSettings.h"
#include "render/decode/PauseGate.h"
#include "render/present/DisplayPool.h"
#include "render/present/KeptPicture.h"
#include "render/present/PictureSink.h"
#include "render/present/PictureView.h"
#include "render/snapshot/SnapshotTaker.h"

namespace norix {

/// What the decode thread and the display thread of one decoder share with each other and with the decoder
/// that started them. Both threads own it together with the decoder, so that one that had to be abandoned
/// finds it when it comes to itself.
struct Pipeline {
    Pipeline(VideoCodec kindOfStream, const DecoderSettings& s) : kind(kindOfStream), settings(s), pool(s) {}

    // constant
    const VideoCodec kind;
    const DecoderSettings settings;

    // any thread
    DisplayPool pool;
    PauseGate gate;  // holds the display thread
    KeptPicture kept;
    std::atomic<std::uint32_t> shownAt{0};  // the last picture, by the multimedia timer

    /// Set by the owner before the decode thread starts, constant from then on. The display thread looks at
    /// them only when it has got a picture from there. The snapshot taker may be null.
    std::shared_ptr<CCtrlParam> param;
    std::shared_ptr<SnapshotTaker> snapshots;
    std::shared_ptr<PictureView> view = std::make_shared<PictureView>();

    // cleared by the owner
    std::atomic<bool> decodeRunning{true};
    std::atomic<bool> displayRunning{true};

    /// Decode thread; the display thread too, while it is not held. The owner sets the first one before the
    /// threads start and later ones through OfferSink; the decode thread puts a substitute in its place.
    std::shared_ptr<PictureSink> sink;

    /// Any thread: pictures go here instead from the next compressed frame on.
    void OfferSink(std::shared_ptr<PictureSink> next) {
        std::lock_guard<std::mutex> lock(m_lock);
        m_offered = std::move(next);
        m_hasOffer.store(true);
    }
    /// Decode thread: what was offered since, null for nothing.
    std::shared_ptr<PictureSink> TakeOfferedSink() {
        if (!m_hasOffer.load(std::memory_order_relaxed)) return nullptr;
        std::lock_guard<std::mutex> lock(m_lock);
        m_hasOffer.store(false);
        return std::move(m_offered);
    }

  private:
    std::mutex m_lock;
    std::shared_ptr<PictureSink> m_offered;  // guarded by m_lock
    std::atomic<bool> m_hasOffer{false};     // a first look without the lock
};

}  // namespace norix
