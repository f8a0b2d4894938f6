// One export, from an image to a file.
#pragma once

#include "choices.h"

#include <libgimp/gimp.h>

#include <memory>
#include <string>

namespace kowen::gimp {

struct CloseModule {
    void operator()(KowenModule *module) const { KowenCloseModule(module); }
};
using Module = std::unique_ptr<KowenModule, CloseModule>;

/// Saves the image as it is shown, with GIMP's progress bar. A JPEG of that name is replaced once
/// the new one is whole, any other file is kept. Returns the library's code; the result has the
/// reason.
int32_t SaveImage(KowenModule *module, gint32 image, const Choices &choices,
                  const std::string &path, KowenResult *result);

} // namespace kowen::gimp
