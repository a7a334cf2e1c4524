#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>

#include "control/trust/Trust.h"

namespace net {
class Lookup;
}

namespace norix {

/// The first addresses that the system knows for names, IPv4 before IPv6. Window thread.
class NameLookup {
  public:
    /// Whether the name is still being looked up, by another thread; begins that. What comes of it counts for
    /// the next seconds. Never for longer than a second: then there is no answer.
    bool IsUnderWay(const std::string& name);
    /// The address; nothing where there is none within a second, in which sent messages are answered. Does
    /// not wait for what IsUnderWay has begun.
    std::optional<NumericAddress> Find(const std::string& name);

  private:
    struct Begun {
        std::shared_ptr<const net::Lookup> lookup;  // null: none could be begun
        std::uint32_t sinceMs = 0;
    };
    std::map<std::string, Begun> m_begun;
};

}  // namespace norix
