// Shared by sig-load and metadb-load: two file names handed to one request.
#ifndef DPICTL_FILE_PAIR_H
#define DPICTL_FILE_PAIR_H

#include <string>

#include "dpiwrapper/dw_ioctl.h"
#include "tools/dpictl/command.h"

namespace dpictl {

using FilePairMethod = int (dw_ioctl::*)(std::string &, std::string &);

// Expects exactly "<first> <second>"; calls the method and reports.
int run_file_pair(Context &ctx, int argc, char **argv, FilePairMethod method, const char *what);

}  // namespace dpictl

#endif
