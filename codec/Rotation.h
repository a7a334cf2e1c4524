#pragma once

namespace codec {

/// Clockwise quarter turns.
enum class Rotation { k0 = 0, k90 = 90, k180 = 180, k270 = 270 };

}  // namespace codec
