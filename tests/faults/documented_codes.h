// The codes that docs/host-guide.md and docs/device.md allow where something fails.
#pragma once

#include "faults/device_session.h"

namespace kowen::test {

/// Whether a step of that case may answer the code when failures of the kind happen; 0 always may.
bool IsDocumented(const ExportCase &given, StepAnswer answer, FaultKind kind);

} // namespace kowen::test
