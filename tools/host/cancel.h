// Ctrl-C and its relatives.
#pragma once

#include <string>

namespace kowen::host {

/// Catches SIGINT, SIGTERM and SIGHUP. The first one is remembered, so that what is under way can
/// end in order; the second one removes the temporary files and ends the process at once, with the
/// status of a cancelled command. Also makes a closed pipe and a full file ordinary write errors.
void InstallCancelHandlers();

/// Whether the user has asked to stop.
bool CancelRequested();

/// Throws Cancelled when the user has asked to stop.
void StopIfCancelled();

/// Names a file or an empty directory that must not outlive the process; the path is copied. The
/// returned slot goes to ForgetTemporary once it is gone or has its final name. -1 when the path is
/// too long or there is no room: then only the orderly end removes the file.
int RememberTemporary(const std::string &path);
void ForgetTemporary(int slot);

} // namespace kowen::host
