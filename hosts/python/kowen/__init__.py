# SPDX-License-Identifier: MIT
"""Save pictures as JPEG files through the kowen export filter.

    import kowen

    kowen.save(image, "picture.jpg", quality=85)
    jpeg = kowen.encode(array, progressive=True)

Images are Pillow's, numpy's arrays, or any buffer; see Picture. The package is plain Python over
the host library, libkowenhost: the same bytes as the command line makes with the same settings.

What fails raises a KowenError whose text says what, where and what to do; among them are
SettingError (a ValueError too), OutputError (an OSError) and ExistsError (a FileExistsError).

Any thread may call. The filter's state is one for the process, so calls wait for each other; the
interpreter goes on meanwhile.
"""

from ._errors import (BusyError, CancelledError, ExistsError, ExportError, KowenError, LimitError,
                      ModuleError, OutputError, PictureError, ProfileError, SettingError)
from ._export import Prepared, Result, encode, module_path, open_module, save, version
from ._pictures import Picture
from ._pillow import register_pillow
from ._version import VERSION as __version__

__all__ = [
    "__version__", "BusyError", "CancelledError", "ExistsError", "ExportError", "KowenError",
    "LimitError", "ModuleError", "OutputError", "Picture", "PictureError", "Prepared",
    "ProfileError", "Result", "SettingError", "encode", "module_path", "open_module",
    "register_pillow", "save", "version",
]

# By these names they are imported, so by these names they are shown.
for _public in (BusyError, CancelledError, ExistsError, ExportError, KowenError, LimitError,
                ModuleError, OutputError, Picture, PictureError, Prepared, ProfileError, Result,
                SettingError):
    _public.__module__ = __name__
del _public
