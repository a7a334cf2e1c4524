#pragma once

namespace util {

/// Whom the control works for.
enum class TrustLevel {
    kTrusted,  ///< a program of the user's own, or a page of a zone that may do what programs may
    kWeb,      ///< any other page: it may have been written by anyone
};

}  // namespace util
