#include "live/env/Medium.h"

// The one place where media end: the interface hands out plain pointers.
void Medium::close(Medium* medium) {
    delete medium;
}
