// The public headers in C++20, where the layouts are checked by the compiler.
#include "headers_use.h"

#include <type_traits>

static_assert(__cplusplus == 202002L);
static_assert(std::is_standard_layout_v<ExportRecord> && std::is_trivial_v<ExportRecord>);
static_assert(std::is_standard_layout_v<OpenRecord> && std::is_trivial_v<OpenRecord>);
static_assert(std::is_same_v<decltype(&CreateSetup), CreateSetupFunction>);
static_assert(std::is_same_v<decltype(&DestroySetup), DestroySetupFunction>);
static_assert(std::is_same_v<decltype(&EditSetup), EditSetupFunction>);
static_assert(std::is_same_v<decltype(&EscapeSetup), EscapeSetupFunction>);
static_assert(std::is_same_v<decltype(&QIVGetFilterVersion), GetFilterVersionFunction>);
static_assert(std::is_same_v<decltype(&dd_entry), ShortDoorFunction>);
static_assert(std::is_same_v<decltype(&RASTER_dd_entry), ShortDoorFunction>);
static_assert(std::is_same_v<decltype(&ExportCellData), ExportCellDataFunction>);
static_assert(std::is_same_v<decltype(&fltLoadPointers), LoadPointersFunction>);

int UseHeadersCxx20() {
    return UseHeaders();
}
