// The configuration directory of the web-category files.
#include <cstring>

#include "dpiwrapper/paths.h"
#include "dpiwrapper/platform.h"

extern "C" {

char DPI_KIV_CONF[DW_PLATFORM_TEXT_SIZE];

// Fills an empty DPI_KIV_CONF, once: the scratch directory TMP_FILE_PATH when
// set, else the base directory BASE_PATH, else the default "/tmp/korad".
// A directory already set is kept. Returns 0, or -1 when the chosen path does
// not fit the buffer.
int set_dia_paths(void)
{
    if (DPI_KIV_CONF[0]) return 0;
    const char *dir = TMP_FILE_PATH[0] ? TMP_FILE_PATH : BASE_PATH[0] ? BASE_PATH : "/tmp/korad";
    const size_t len = strnlen(dir, DW_PATH_SIZE);
    if (len >= sizeof DPI_KIV_CONF) return -1;
    memcpy(DPI_KIV_CONF, dir, len + 1);
    return 0;
}

}  // extern "C"
