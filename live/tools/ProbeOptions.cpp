#include "live/tools/ProbeOptions.h"

#include <cstdlib>

namespace live::tools {
namespace {

std::string* textOption(char name, ProbeOptions& options) {
    switch (name) {
        case 't':
            return &options.transport;
        case 'i':
            return &options.interfaceAddress;
        case 'u':
            return &options.user;
        case 'w':
            return &options.password;
        case 'o':
            return &options.dump;
        case 'V':
            return &options.videoGroup;
        case 'A':
            return &options.audioGroup;
        case 'c':
            return &options.codec;
        default:
            return nullptr;
    }
}

}  // namespace

bool parseProbeOptions(int count, char** arguments, ProbeOptions& options) {
    for (int i = 1; i < count; ++i) {
        const std::string option = arguments[i];
        if (option == "-q") {
            options.quiet = true;
        } else if (option.size() == 2 && option[0] == '-' && i + 1 < count) {
            const char* const value = arguments[++i];
            if (std::string* const text = textOption(option[1], options)) {
                *text = value;
            } else if (option[1] == 'p') {
                options.tunnelPort = static_cast<unsigned>(std::strtoul(value, nullptr, 10));
            } else if (option[1] == 'n') {
                options.seconds = std::strtod(value, nullptr);
            } else {
                return false;
            }
        } else {
            options.url = option;
        }
    }
    return true;
}

}  // namespace live::tools
