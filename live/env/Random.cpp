#include "live/env/Random.h"

#include <random>

namespace live {

std::uint32_t random32() {
    std::random_device device;
    return static_cast<std::uint32_t>(device());
}

}  // namespace live
