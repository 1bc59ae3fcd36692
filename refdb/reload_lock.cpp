// The reload lock file: a barrier between reference loads and signature
// reloads running in other processes.
#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "dpiwrapper/dbcache.h"
#include "dpiwrapper/platform.h"
#include "refdb/log_units.h"

using dw::refdb::kUnitConfApp;

extern "C" {

int open_dpi_reload_lock_file(void)
{
    int fd = open(DW_RELOAD_LOCK_FILE, O_RDWR | O_CREAT | O_CLOEXEC, 0644);
    if (fd < 0)
        dbglog_write(__func__, kUnitConfApp, __LINE__, DW_LOG_ERR,
                     "Failed to open reload lock file, error=(%s)", strerror(errno));
    return fd;
}

// Waits for the exclusive lock, then closes the descriptor, which drops the
// lock at once: the caller only waits for a current holder to let go and
// never keeps others waiting itself.
int hold_dpi_reload_lock_file(int fd)
{
    dbglog_write(__func__, kUnitConfApp, __LINE__, DW_LOG_INFO, "hold dpi-signature reload lock file...");
    int ret = flock(fd, LOCK_EX);
    if (ret != 0)
        dbglog_write(__func__, kUnitConfApp, __LINE__, DW_LOG_ERR,
                     "Failed to use flock to lock dpi reload lock file, error=(%s)", strerror(errno));
    else
        dbglog_write(__func__, kUnitConfApp, __LINE__, DW_LOG_INFO,
                     "Add a lock to dpi reload lock file successfully, ret=(%d)", ret);
    close(fd);
    return ret;
}

int release_dpi_reload_lock_file(int fd)
{
    int saved = errno;
    (void)flock(fd, LOCK_UN);
    (void)close(fd);
    errno = saved;
    return 0;
}

}  // extern "C"
