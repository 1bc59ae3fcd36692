/* Platform interfaces. The bundled platform implements them; a router build
 * may leave it out (DPIWRAPPER_BUNDLED_PLATFORM=OFF) and link its own. */
#ifndef DPIWRAPPER_PLATFORM_H
#define DPIWRAPPER_PLATFORM_H

#include "dpiwrapper/export.h"

#define DW_PLATFORM_TEXT_SIZE 4096

DW_EXTERN_C_BEGIN

/* Log levels (syslog). */
#define DW_LOG_ERR 3
#define DW_LOG_WARNING 4
#define DW_LOG_INFO 6
#define DW_LOG_DEBUG 7

/* Writes one log line; the bundled version sends it to syslog. */
DW_API void dbglog_write(const char *function, const char *file, int line, int level,
                         const char *format, ...) __attribute__((format(printf, 5, 6)));

/* Establishes the configuration directory DPI_KIV_CONF; negative on failure. */
DW_API int set_dia_paths(void);
DW_API extern char DPI_KIV_CONF[DW_PLATFORM_TEXT_SIZE];

/* Command line that prints the installed signature pattern version, split at
 * white space and run without a shell. The bundled platform leaves it empty;
 * while it is empty, dw_ioctl::get_dpi_pattern_ver runs "cat SIG_VER_FILE"
 * instead (the runtime path set by parse_udata, read at each call). */
DW_API extern char DPI_PATTERN_VERSION_COMMAND[DW_PLATFORM_TEXT_SIZE];

DW_EXTERN_C_END

#ifdef __cplusplus
#include <string>
#include <vector>

namespace Utilities {
/* Six bytes as two hex digits each joined by sep ("aa:bb:cc:dd:ee:ff" for
 * ':' and false); upper selects upper-case digits A-F; sep '\0' joins them
 * without a separator. */
DW_API std::string FormatMACAddress(const unsigned char *mac, char sep, bool upper);
/* The router's own IPv4 address and MAC text (lower case, ':'): the
 * interface "br-lan", else "br0", else the first interface that is up, not
 * loopback and has an IPv4 address. Returns 0 when found, else -1 with both
 * texts untouched. */
DW_API int GetGatewayInfo(std::string &ip, std::string &mac);
}  // namespace Utilities

/* printf-style formatting into a new string. */
DW_API std::string string_format(const char *format, ...) __attribute__((format(printf, 1, 2)));

/* Runs an argument vector as a child process (no shell, PATH searched,
 * stdin from /dev/null) and hands back its standard output a line at a time,
 * without the "\n"; a last line without one still counts. A program that
 * cannot be started gives no lines. The destructor reaps the child, killing
 * it first when its output was not read to the end. */
class DW_API CommandOutputReader2 {
public:
    explicit CommandOutputReader2(const std::vector<std::string> &argv);
    ~CommandOutputReader2();
    CommandOutputReader2(const CommandOutputReader2 &) = delete;
    CommandOutputReader2 &operator=(const CommandOutputReader2 &) = delete;
    /* Next line into line; false at the end of the output. */
    bool getLine(std::string &line);

private:
    struct Impl;
    Impl *impl_;
};
#endif

#endif
