#pragma once

// NORIX_PRINTF_FORMAT(index, first): has the compiler check a printf-like function's arguments. Our printf is
// the C99 one everywhere; under mingw that has to be said, its plain `printf` means the dialect of msvcrt.

#if defined(__MINGW32__) && !defined(__clang__)
#define NORIX_PRINTF_FORMAT(index, first) __attribute__((format(gnu_printf, index, first)))
#else
#define NORIX_PRINTF_FORMAT(index, first) __attribute__((format(printf, index, first)))
#endif
