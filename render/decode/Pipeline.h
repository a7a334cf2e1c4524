#pragma once

#include <atomic>
#include <memory>
#include <mutex>
#include <utility>

#include "media/CtrlParam.h"
#include "render/decode/DecoderSettings.h"
#include "render/decode/PauseGate.h"
#include "render/present/DisplayPool.h"
#include "render/present/PictureSink.h"
#include "render/present/PictureView.h"
#include "render/snapshot/SnapshotTaker.h"

namespace norix {

/// What the decode thread and the display thread of one decoder share with each other and with the decoder
/// that started them. Both threads own it together with the decoder, so that one that had to be abandoned
/// finds it when it comes to itself.
struct Pipeline {
    Pipeline(VideoCodec kindOfStream, const DecoderSettings& s) : kind(kindOfStream), settings(s), pool(s) {}

    /// constant
    const VideoCodec kind;
    const DecoderSettings settings;

    /// any thread
    DisplayPool pool;
    PauseGate gate;  // holds the display thread
    PictureView view;

    /// set by the owner before the threads start
    std::atomic<CCtrlParam*> param{nullptr};
    std::atomic<SnapshotTaker*> snapshots{nullptr};

    /// cleared by the owner
    std::atomic<bool> decodeRunning{true};
    std::atomic<bool> displayRunning{true};
    /// set by the owner after it gave up waiting: the parameter block may be gone
    std::atomic<bool> abandoned{false};

    /// Decode thread; the display thread too, while it is not held. The owner sets the first one before the
    /// threads start and later ones through OfferSink.
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
