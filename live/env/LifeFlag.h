#pragma once

// Lets code that calls out notice that the call ended the object it belongs to:
//
//     const LifeFlag::Watch alive(m_life);
//     callOut();
//     if (!alive) return;
//
// One thread only. A watch allocates nothing.

#include <memory>

namespace live {

class LifeFlag {
  public:
    LifeFlag() : m_alive(std::make_shared<bool>(true)) {}
    LifeFlag(const LifeFlag&) = delete;
    LifeFlag& operator=(const LifeFlag&) = delete;
    ~LifeFlag() { *m_alive = false; }

    class Watch {
      public:
        explicit Watch(const LifeFlag& flag) : m_alive(flag.m_alive) {}
        explicit operator bool() const { return *m_alive; }

      private:
        const std::shared_ptr<const bool> m_alive;
    };

  private:
    const std::shared_ptr<bool> m_alive;
};

}  // namespace live
