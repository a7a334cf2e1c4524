#pragma once

namespace codec {

/// Results of StaticInit.
inline constexpr int kStaticInitOk = 0;
inline constexpr int kStaticInitNoSse2 = 1;  ///< the processor lacks SSE2, which this library is compiled for

/// Prepares the library for the process: checks the processor and silences the libraries underneath.
/// Call it before anything else of this namespace; further calls, from any thread, only repeat
/// the answer. With a non-zero answer no other function of the library may be called.
int StaticInit();

}  // namespace codec
