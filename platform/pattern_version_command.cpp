// The bundled platform leaves the pattern-version command empty: the facade
// then reads the runtime signature-version file SIG_VER_FILE itself (see
// platform.h). A router platform defines its own command here.
#include "dpiwrapper/platform.h"

char DPI_PATTERN_VERSION_COMMAND[DW_PLATFORM_TEXT_SIZE];
