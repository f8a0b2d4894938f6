/*
 * Sets the floating-point environment of an emulated PowerPC. The C library does it by an
 * instruction that is newer than the processor; older ones take it for another one that is as good,
 * but the emulator stops. Loaded before the C library (cmake/ppc.cmake).
 */
#include <fenv.h>

int fesetenv(const fenv_t *environment) {
    __asm__ volatile("mtfsf 255,%0" : : "d"(*environment));
    return 0;
}
