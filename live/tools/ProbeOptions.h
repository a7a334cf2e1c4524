#pragma once

// The command line that the probes have in common.

#include <string>

namespace live::tools {

struct ProbeOptions {
    std::string url;
    std::string transport = "udp";  // -t
    unsigned tunnelPort = 80;       // -p
    double seconds = 10;            // -n
    std::string interfaceAddress;   // -i
    std::string user;               // -u
    std::string password;           // -w
    std::string dump;               // -o
    bool quiet = false;             // -q
    /// Pushed streams: "group:port", and the video's codec.
    std::string videoGroup;      // -V
    std::string audioGroup;      // -A
    std::string codec = "h264";  // -c
};

/// False when the arguments are not to be understood.
bool parseProbeOptions(int count, char** arguments, ProbeOptions& options);

}  // namespace live::tools
