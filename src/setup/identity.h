// How the module is known to its host and to itself: version, names, numbers.
#pragma once

#include <cstdint>

namespace kowen {

inline constexpr uint32_t kFilterVersion = 0x02000005;
inline constexpr int32_t kDllNameBytes = 260;

/// Returns kFilterVersion: version 2.0 in the high 16 bits, release 5 in the low.
uint32_t QIVGetFilterVersion() noexcept;

/// The module's short name; CreateSetup upper-cases it in place.
extern char *szFilter;

/// The module's own path; the host writes it through the table entry "szDLLName".
extern char export_szDLLName[kDllNameBytes];

extern uint32_t hDLLModule;      ///< first argument of LoadString; never dereferenced
extern uint32_t hAppAnchorBlock; ///< kept for the host interface; never read
extern uint16_t FilterVersion;   ///< kept for the host interface; never read
extern uint16_t FilterID;        ///< kept for the host interface; never read

} // namespace kowen
