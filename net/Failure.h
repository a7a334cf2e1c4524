#pragma once

// Why a server did not serve: one short line for a person, the same whoever asked. Nothing of what a server
// wrote stands in it. Pure; any thread.

#include <string>

namespace net {

/// What a look-up that found nothing counts as: Winsock's number, on every system.
inline constexpr int kNameNotFound = 11001;

inline constexpr char kNoAnswer[] = "no answer in time";
inline constexpr char kCertificate[] = "certificate not accepted";
inline constexpr char kStreamEnded[] = "the camera has ended the stream";
inline constexpr char kSilent[] = "the camera sends nothing any more";
inline constexpr char kNotEncrypted[] = "the stream is not encrypted, and the camera is asked by HTTPS";
inline constexpr char kGroup[] = "multicast group or port not to be had";
inline constexpr char kMayNotReach[] = "not to be reached by this page";

/// For an error of the system's sockets, or kNameNotFound.
std::string failureOfError(int error);
/// For a status of RTSP or HTTP from 300 on.
std::string failureOfStatus(unsigned status);

}  // namespace net
