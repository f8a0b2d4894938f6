/**
 * kowen/kowen.h - the JPEG export filter as a host sees it. Includes all other public headers.
 *
 * What holds everywhere:
 * - Strings are zero-terminated bytes. Handle 0 is none.
 * - Numbers in records, requests and escape values are in the host's byte order.
 * - All state is process-wide: calls come from one thread at a time. Callbacks run on the calling
 *   thread, inside the call that caused them.
 * - Functions report by integer result; nothing throws.
 * - The host's locale, rounding mode and floating-point traps change no byte of the output. They
 *   are as the host set them when a call returns, and inside its callbacks.
 * - The module writes only what is documented as out, and the pixels that ExportCellData names.
 */
#ifndef KOWEN_KOWEN_H
#define KOWEN_KOWEN_H

#include "codes.h"
#include "entries.h"
#include "memory.h"
#include "records.h"

#endif /* KOWEN_KOWEN_H */
