// The bundled logger: every line goes to syslog (facility LOG_USER) at the
// level given, as "function(file:line): text", where router operators read
// it with logread.
#include <errno.h>
#include <pthread.h>
#include <syslog.h>

#include <cstdarg>
#include <cstdio>

#include "dpiwrapper/platform.h"

namespace {

pthread_once_t g_open_once = PTHREAD_ONCE_INIT;

void open_log() { openlog(program_invocation_short_name, LOG_PID, LOG_USER); }

}  // namespace

extern "C" void dbglog_write(const char *function, const char *file, int line, int level,
                             const char *format, ...)
{
    pthread_once(&g_open_once, open_log);
    char text[1024] = "";  // longer texts are cut
    if (format) {
        va_list ap;
        va_start(ap, format);
        vsnprintf(text, sizeof text, format, ap);
        va_end(ap);
    }
    syslog(LOG_USER | (level & LOG_PRIMASK), "%s(%s:%d): %s", function ? function : "?",
           file ? file : "?", line, text);
}
