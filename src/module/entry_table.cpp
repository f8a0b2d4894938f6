#include "module/entry_table.h"

#include "kowen/entries.h"
#include "setup/identity.h"

#include <iterator>

namespace kowen {

namespace {

// Hosts go by name or ordinal. 1007 is deliberately absent. The casts stand in the initialiser
// itself, so that the loader fills the table and closes it to writing. Test:
// LoadPointers.TheTableIsReadOnly.
const TableEntry entryTable[] = {
    {"CreateSetup", KOWEN_ORDINAL_CREATE_SETUP, 0, reinterpret_cast<const void *>(::CreateSetup)},
    {"DestroySetup", KOWEN_ORDINAL_DESTROY_SETUP, 0,
     reinterpret_cast<const void *>(::DestroySetup)},
    {"EditSetup", KOWEN_ORDINAL_EDIT_SETUP, 0, reinterpret_cast<const void *>(::EditSetup)},
    {"EscapeSetup", KOWEN_ORDINAL_ESCAPE_SETUP, 0, reinterpret_cast<const void *>(::EscapeSetup)},
    {"QIVGetFilterVersion", KOWEN_ORDINAL_GET_FILTER_VERSION, 0,
     reinterpret_cast<const void *>(::QIVGetFilterVersion)},
    {"dd_entry", KOWEN_ORDINAL_DD_ENTRY, 0, reinterpret_cast<const void *>(::dd_entry)},
    {"RASTER_dd_entry", KOWEN_ORDINAL_RASTER_DD_ENTRY, 0,
     reinterpret_cast<const void *>(::RASTER_dd_entry)},
    {"ExportCellData", KOWEN_ORDINAL_EXPORT_CELL_DATA, 0,
     reinterpret_cast<const void *>(::ExportCellData)},
    {"szDLLName", KOWEN_ORDINAL_DLL_NAME, 0, export_szDLLName},
};
static_assert(std::size(entryTable) == kEntryCount);

} // namespace

void LoadEntryPointers(EntryPointRecord *record) noexcept {
    if (!record)
        return;
    record->entryCount = kEntryCount;
    record->entries = entryTable;
}

} // namespace kowen
