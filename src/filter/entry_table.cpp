#include "filter/entry_table.h"

#include "filter/state.h"
#include "kowen/entries.h"

#include <iterator>

namespace kowen {

namespace {

template <typename Function> constexpr const void *AddressOf(Function *function) noexcept {
    return reinterpret_cast<const void *>(function);
}

// Hosts go by name or ordinal. 1007 is deliberately absent.
const TableEntry entryTable[] = {
    {"CreateSetup", KOWEN_ORDINAL_CREATE_SETUP, 0, AddressOf(::CreateSetup)},
    {"DestroySetup", KOWEN_ORDINAL_DESTROY_SETUP, 0, AddressOf(::DestroySetup)},
    {"EditSetup", KOWEN_ORDINAL_EDIT_SETUP, 0, AddressOf(::EditSetup)},
    {"EscapeSetup", KOWEN_ORDINAL_ESCAPE_SETUP, 0, AddressOf(::EscapeSetup)},
    {"QIVGetFilterVersion", KOWEN_ORDINAL_GET_FILTER_VERSION, 0, AddressOf(::QIVGetFilterVersion)},
    {"dd_entry", KOWEN_ORDINAL_DD_ENTRY, 0, AddressOf(::dd_entry)},
    {"RASTER_dd_entry", KOWEN_ORDINAL_RASTER_DD_ENTRY, 0, AddressOf(::RASTER_dd_entry)},
    {"ExportCellData", KOWEN_ORDINAL_EXPORT_CELL_DATA, 0, AddressOf(::ExportCellData)},
    {"szDLLName", KOWEN_ORDINAL_DLL_NAME, 0, export_szDLLName},
};
static_assert(std::size(entryTable) == kEntryCount);

} // namespace

void LoadEntryPointers(EntryPointRecord *record) noexcept {
    if (record == nullptr)
        return;
    record->entryCount = kEntryCount;
    record->entries = entryTable;
}

uint32_t QIVGetFilterVersion() noexcept {
    return kFilterVersion;
}

} // namespace kowen
