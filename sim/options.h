// Command line of dpi-engine-sim.
#ifndef DW_SIM_OPTIONS_H
#define DW_SIM_OPTIONS_H

#include <string>

#include "sim/faults.h"

namespace sim {

struct Options {
    std::string scenario;
    std::string record_dir = "sim-records";
    std::string ready_file;
    Fault fault = Fault::none;
    int delay_ms = 0;
    bool quiet = false;
    bool no_record = false;
    bool help = false;
    bool probe_rlimit = false;
};

// Returns false with a message in err on a bad command line.
bool parse_options(int argc, char **argv, Options &out, std::string &err);

// The --help text: options, scenario format, record files, fault modes.
std::string help_text();

}  // namespace sim

#endif
