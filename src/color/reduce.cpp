#include "color/reduce.h"

#include "color/diagnostics.h"
#include "color/median_cut.h"
#include "color/pixel.h"
#include "platform/global_memory.h"

namespace kowen {

MemoryHandle rlReduceColorTable(MemoryHandle image, uint16_t width, uint16_t height,
                                uint16_t *count) noexcept {
    const uint16_t wanted = *count;
    *count = 0;
    if (!BitmapFits(image, width, height, 24))
        return 0;
    const MemoryHandle table = rlGetMemory(wanted, kTableEntryBytes);
    if (table == 0)
        return 0;
    auto *entries = Lock<uint8_t>(table);
    *count = wanted;
    const MemoryHandle context = InitColorLib();
    const int32_t code = direct_indexed(Lock<const uint8_t>(image), width, height, count,
                                        kBuildTable | kKeepHistogram, entries, context);
    TermColorLib(context);
    if (code != 0) {
        *count = 0;
        GlobalFree(table);
        return 0;
    }
    ReportReduction(wanted, entries, *count);
    return table;
}

} // namespace kowen
