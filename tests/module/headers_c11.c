/* The public headers in C11, where the layouts are checked by the compiler. */
#include "headers_use.h"

#if !defined(__STDC_VERSION__) || __STDC_VERSION__ != 201112L
#error "this file is to be compiled as C11"
#endif

int UseHeadersC11(void) {
    return UseHeaders();
}
