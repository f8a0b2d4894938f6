// Records what this process does to one folder, by standing in for the C library's functions. A
// program links it once; it counts for libraries that are loaded as well.
#pragma once

#include "power/disk_model.h"

#include <string>
#include <vector>

namespace kowen::test {

/// The folder as it is.
FolderState Look(const std::string &folder);

/// Records from here on, for a folder that holds files only. Those that are there have the numbers
/// from 1 on, in the order of their names.
void StartRecording(const std::string &folder);

std::vector<DiskCall> StopRecording();

/// Whether the next files without a name are refused, as file systems do that have none.
void RefuseNamelessFiles(bool refuse);

/// Files cannot be brought to disk, for this reason; 0: they can.
void FailSyncs(int error);

} // namespace kowen::test
