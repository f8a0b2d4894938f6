/* The public headers in C99: every function type, record and group of codes is usable. */
#include "headers_use.h"

#if !defined(__STDC_VERSION__) || __STDC_VERSION__ != 199901L
#error "this file is to be compiled as C99"
#endif

int UseHeadersC99(void) {
    return UseHeaders();
}
