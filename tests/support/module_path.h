// Where the built module is.
#pragma once

extern const char *const kModulePath;
