#include "check/paths.h"

const char *const kCheckPath = KOWEN_CHECK_PATH;
const char *const kGuideExamplePath = KOWEN_GUIDE_EXAMPLE;
const char *const kExamplePath = KOWEN_EXAMPLE;
#ifdef KOWEN_PROGRAM
const char *const kProgramPath = KOWEN_PROGRAM;
const char *const kHostExamplePath = KOWEN_HOST_EXAMPLE;
#endif
