#pragma once

#include <windows.h>

#include "render/present/StatusPictureKind.h"

namespace norix {

/// Draws what the video area shows while nothing plays: the picture with its proportions kept, centred in
/// `area`, on its own background colour. Works on any device context, printers and metafiles included, since
/// it hands the resource's bits straight to the device. Creates nothing. None is the background alone. False,
/// with the area still filled, when the resource is missing.
bool DrawStatusPicture(HDC dc, const RECT& area, StatusPicture kind);

}  // namespace norix
