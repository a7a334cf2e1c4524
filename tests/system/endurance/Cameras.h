#pragma once

#include <cstdint>
#include <string>

// The simulated cameras, which run.py keeps outside of Wine. Each has a name and starts when it is first
// asked for:
//
//   main    everything works, all codecs
//   mjpeg   offers Motion JPEG only
//   silent  PLAY succeeds and no media follow
//   deaf    accepts commands and never answers them
//   hole    no camera: a port at which no connection is ever made
namespace cameras {

struct Address {
    std::uint16_t http = 0;
    std::uint16_t rtsp = 0;
};

// False when run.py is not there.
bool Available();

// Waits until the camera is there.
Address Of(const std::string& name);
// Takes the camera away without a word to its clients.
void Kill(const std::string& name);
// At the same ports again; returns at once.
void Restart(const std::string& name);
bool IsThere(const std::string& name);

// It takes connections and bytes, and does nothing until it is thawed.
void Freeze(const std::string& name);
void Thaw(const std::string& name);

}  // namespace cameras
