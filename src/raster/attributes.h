// Handlers that set and query the device: window, viewport, background, resolution, colours.
#pragma once

#include "kowen/records.h"

namespace kowen {

/// Opcode 518: six doubles from request byte 16 become the device window.
DdRequest *ds_dvwn(DdRequest *request) noexcept;

/// Opcode 767: appends the device window, 48 bytes, to the return area.
DdRequest *dq_dvwn(DdRequest *request) noexcept;

/// Opcode 520: of six doubles from request byte 16 the 1st, 2nd, 4th and 5th become the device
/// viewport's x1, y1, x2, y2.
DdRequest *ds_dvvp(DdRequest *request) noexcept;

/// Opcode 765: appends the device viewport, 48 bytes, to the return area.
///
/// Kept deliberately: the order is x1, y2, 0, y1, x2, 0, not that of ds_dvvp.
/// Test: Viewport.IsAnsweredInAnotherOrderThanItWasSet.
DdRequest *dq_dvvp(DdRequest *request) noexcept;

/// Opcode 519: request bytes 16, 17, 18 become the background's red, green, blue.
DdRequest *ds_bgc(DdRequest *request) noexcept;

/// Opcode 521: mode (i16 at request byte 16) and scale (double at byte 24). Mode 1 with a scale in
/// millimetres per device unit sets the resolution; 0 and 2, and scale 0, clear it; any other mode
/// changes nothing.
DdRequest *ds_vpsm(DdRequest *request) noexcept;

/// Opcode 1314: (argument count - 2) / 3 colours from request byte 20 go to the colour table from
/// the entry at byte 16 on, as far as the table reaches.
///
/// Kept deliberately: the colour mode is applied to all of the request's own colours, also to
/// those that find no entry. Test: ColorTable.TransformsColorsThatFindNoEntry.
DdRequest *ds_ct(DdRequest *request) noexcept;

/// Opcodes 771, 772, 773, 774, 2310: accepted, nothing happens.
DdRequest *ds_axc(DdRequest *request) noexcept;
DdRequest *ds_tran(DdRequest *request) noexcept;
DdRequest *ds_clpr(DdRequest *request) noexcept;
DdRequest *ds_clip(DdRequest *request) noexcept;
DdRequest *ds_dm(DdRequest *request) noexcept;

/// Accepted like the others; no opcode leads here.
/// Not on the export path.
DdRequest *ds_fl(DdRequest *request) noexcept;

} // namespace kowen
