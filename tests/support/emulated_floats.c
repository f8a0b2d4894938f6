/*
 * The floating-point environment of an emulated PowerPC. The C library writes the status register
 * by an instruction that is newer than the processor; older ones take it for another one that is as
 * good, but the emulator stops. Loaded before the C library (cmake/ppc.cmake).
 */
#define _GNU_SOURCE
#include <fenv.h>
#include <stdint.h>

/* The register is the lower half of what moves between it and the other ones. */
union Status {
    fenv_t environment;
    uint64_t bits;
};

int fesetenv(const fenv_t *environment) {
    __asm__ volatile("mtfsf 255,%0" : : "d"(*environment));
    return 0;
}

int feclearexcept(int exceptions) {
    union Status status;
    fegetenv(&status.environment);
    /* An invalid operation is the sum of its causes. */
    if (exceptions & FE_INVALID)
        exceptions |= FE_ALL_INVALID;
    status.bits &= ~(uint64_t)(uint32_t)exceptions;
    return fesetenv(&status.environment);
}

int feraiseexcept(int exceptions) {
    union Status status;
    fegetenv(&status.environment);
    if (exceptions & FE_INVALID)
        exceptions |= FE_INVALID_SOFTWARE;
    status.bits |= (uint32_t)exceptions;
    return fesetenv(&status.environment);
}
