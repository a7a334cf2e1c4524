#pragma once

#include <algorithm>
#include <deque>
#include <optional>
#include <string>

/// Something that a camera is to be told.
struct PtzOrder {
    enum class Kind {
        Move,  // goes on until a stop
        Go,    // to a preset
        Stop,
        Save,    // a preset: number and name
        List,    // the presets
        Inquire  // what the camera can do
    };
    Kind kind = Kind::Stop;
    std::wstring text{};
    short number = 0;

    bool operator==(const PtzOrder&) const = default;
    bool IsMove() const { return kind == Kind::Move || kind == Kind::Go; }
};

/// What waits while a slow camera is being told something else. Orders are carried out as they came, but of
/// moves that follow each other only the newest waits, and a stop makes those needless that were not begun.
/// Stops and everything else wait until they are taken. Nothing of it is bound to a window or a camera.
class PtzQueue {
  public:
    void Add(PtzOrder order) {
        const auto last = [this](auto matches) { return !waiting_.empty() && matches(waiting_.back()); };
        if (order.IsMove() || order.kind == PtzOrder::Kind::Stop) {
            if (last([](const PtzOrder& o) { return o.IsMove(); })) waiting_.pop_back();
        }
        if (!last([&](const PtzOrder& o) { return o == order; })) waiting_.push_back(std::move(order));
    }

    /// The next one, which is then under way.
    std::optional<PtzOrder> Take() {
        if (waiting_.empty()) return std::nullopt;
        PtzOrder order = std::move(waiting_.front());
        waiting_.pop_front();
        return order;
    }

    bool HoldsMove() const {
        return std::any_of(waiting_.begin(), waiting_.end(), [](const PtzOrder& o) { return o.IsMove(); });
    }

    void Clear() { waiting_.clear(); }

  private:
    std::deque<PtzOrder> waiting_;
};
