#include "net/Failure.h"

#include <cerrno>

#ifdef _WIN32
#include <winsock2.h>
#endif

namespace net {

std::string failureOfError(int error) {
    switch (error) {
        case kNameNotFound:
            return "name not found";
        case ECONNREFUSED:
#ifdef _WIN32
        case WSAECONNREFUSED:
#endif
            return "connection refused";
        case ETIMEDOUT:
#ifdef _WIN32
        case WSAETIMEDOUT:
#endif
            return kNoAnswer;
        case ENETUNREACH:
        case EHOSTUNREACH:
#ifdef _WIN32
        case WSAENETUNREACH:
        case WSAEHOSTUNREACH:
#endif
            return "no way to this address";
        case ECONNRESET:
        case ECONNABORTED:
#ifdef _WIN32
        case WSAECONNRESET:
        case WSAECONNABORTED:
#endif
            return "connection lost";
        case EBADMSG:
            return "the answer is not understood";
        default:
            return "error " + std::to_string(error);
    }
}

std::string failureOfStatus(unsigned status) {
    const std::string number = " (" + std::to_string(status) + ")";
    switch (status) {
        case 401:
            return "user name or password not accepted" + number;
        case 403:
            return "not allowed" + number;
        case 404:
            return "no such stream" + number;
        case 461:  // of RTSP: unsupported transport
            return "protocol not supported" + number;
        case 453:  // of RTSP: not enough bandwidth
        case 503:
            return "the camera is busy" + number;
        default:
            return (status < 400 ? "redirected to where it must not lead" : "the camera refuses") + number;
    }
}

}  // namespace net
