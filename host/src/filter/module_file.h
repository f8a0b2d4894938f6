// What can be seen of a module's file before it is loaded.
#pragma once

#include <string>

namespace kowen::host {

/// Throws Failure when the module's file cannot be read or is not whole: cut short, or without the
/// bytes of its end. The dynamic loader trusts a file, so the process would end by a signal. A file
/// that is no module at all passes: the loader says what is the matter with it.
///
/// Hardened: a module that an interrupted copy has left behind is a failure with a sentence, not
/// the end of the host. Test: DamagedModule.CutAnywhereIsRefused.
void CheckModuleFile(const std::string &path);

} // namespace kowen::host
