// dw_ioctl::get_dpi_pattern_ver: the first non-empty output line of the
// platform's pattern-version command.
#include <cstring>
#include <sstream>

#include "dpiwrapper/dw_ioctl.h"
#include "dpiwrapper/paths.h"
#include "dpiwrapper/platform.h"
#include "facade/facade_log.h"

namespace {

// The platform's command split at white space; while the platform leaves it
// empty, the runtime signature-version file is printed instead.
std::vector<std::string> pattern_version_argv()
{
    std::vector<std::string> argv;
    if (DPI_PATTERN_VERSION_COMMAND[0] != '\0') {
        std::istringstream words(std::string(DPI_PATTERN_VERSION_COMMAND,
                                             strnlen(DPI_PATTERN_VERSION_COMMAND, DW_PLATFORM_TEXT_SIZE)));
        std::string w;
        while (words >> w) argv.push_back(w);
    } else if (SIG_VER_FILE[0] != '\0') {
        argv.push_back("cat");
        argv.emplace_back(SIG_VER_FILE, strnlen(SIG_VER_FILE, DW_PATH_SIZE));
    }
    return argv;
}

void trim_right(std::string &text)
{
    size_t end = text.find_last_not_of(" \n\r\t");
    text.erase(end == std::string::npos ? 0 : end + 1);
}

}  // namespace

int dw_ioctl::get_dpi_pattern_ver(std::string &version)
{
    int rc = 1;
    CommandOutputReader2 reader(pattern_version_argv());
    std::string line;
    while (reader.getLine(line)) {
        if (line.empty()) continue;
        DW_FACADE_LOG(DW_LOG_INFO, "DPI sig version is %s", line.c_str());
        version = line;
        rc = 0;
        break;
    }
    // Also applied to the caller's old text when nothing was found.
    if (!version.empty()) trim_right(version);
    return rc;
}
