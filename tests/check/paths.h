// What the tests of the checking module load and run.
#pragma once

extern const char *const kCheckPath;        ///< the checking module
extern const char *const kGuideExamplePath; ///< the example of the host guide
extern const char *const kExamplePath;      ///< examples/export_both_doors.c

// Only where the host library is built.
extern const char *const kProgramPath;     ///< the command line
extern const char *const kHostExamplePath; ///< the host library's example
