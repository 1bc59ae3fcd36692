#include "sim/options.h"

#include <getopt.h>

#include <cstdlib>

#include "sim/encoders.h"

namespace sim {

bool parse_options(int argc, char **argv, Options &out, std::string &err)
{
    enum { kReady = 1000, kProbe, kNoRecord };
    static const struct option kLong[] = {
        {"scenario", required_argument, nullptr, 's'},
        {"record-dir", required_argument, nullptr, 'r'},
        {"ready-file", required_argument, nullptr, kReady},
        {"fault", required_argument, nullptr, 'f'},
        {"delay-ms", required_argument, nullptr, 'd'},
        {"quiet", no_argument, nullptr, 'q'},
        {"no-record", no_argument, nullptr, kNoRecord},
        {"probe-rlimit", no_argument, nullptr, kProbe},
        {"help", no_argument, nullptr, 'h'},
        {nullptr, 0, nullptr, 0},
    };
    optind = 1;
    opterr = 0;
    int c;
    while ((c = getopt_long(argc, argv, ":s:r:f:d:qh", kLong, nullptr)) != -1) {
        switch (c) {
        case 's': out.scenario = optarg; break;
        case 'r': out.record_dir = optarg; break;
        case kReady: out.ready_file = optarg; break;
        case 'f':
            if (!parse_fault(optarg, out.fault)) {
                err = std::string("unknown fault '") + optarg + "'";
                return false;
            }
            break;
        case 'd': {
            char *end = nullptr;
            long v = std::strtol(optarg, &end, 10);
            if (*optarg == '\0' || *end != '\0' || v < 0 || v > 600000) {
                err = "--delay-ms takes 0 to 600000";
                return false;
            }
            out.delay_ms = static_cast<int>(v);
            break;
        }
        case 'q': out.quiet = true; break;
        case kProbe: out.probe_rlimit = true; break;
        case kNoRecord: out.no_record = true; break;
        case 'h': out.help = true; break;
        case ':': err = "option needs a value"; return false;
        default: err = "unknown option"; return false;
        }
    }
    if (optind < argc) {
        err = std::string("unexpected argument '") + argv[optind] + "'";
        return false;
    }
    if (out.fault != Fault::none && out.delay_ms == 0) out.delay_ms = default_delay_ms(out.fault);
    return true;
}

std::string help_text()
{
    std::string h =
        "Usage: dpi-engine-sim [OPTIONS]\n"
        "\n"
        "A development engine: serves the control queue \"/idpfw\" the way the DPI\n"
        "engine does, answers every request from a scenario file, records what it\n"
        "receives and injects faults on demand.\n"
        "\n"
        "Options:\n"
        "  -s, --scenario FILE    answers and faults (JSON, below); without one every\n"
        "                         output request gets used length 0\n"
        "  -r, --record-dir DIR   where the request log and inputs go (default sim-records)\n"
        "      --ready-file FILE  created once the control queue exists; \"ready\" is also\n"
        "                         printed on stdout then\n"
        "  -f, --fault NAME       fault for every request whose entry names none\n"
        "  -d, --delay-ms N       delay of that fault; alone, delays every answer by N ms\n"
        "  -q, --quiet            no per-request line on stderr\n"
        "      --no-record        keep no request log or input files (long benchmarks)\n"
        "      --probe-rlimit     only try setrlimit(RLIMIT_MSGQUEUE, unlimited): exit 0\n"
        "                         when it works, 1 when it fails (then callers need the\n"
        "                         privilege shim libdw_rlimit_shim.so)\n"
        "  -h, --help             this text\n"
        "\n"
        "The control queue is created with mq_maxmsg 10 and mq_msgsize 112 after a stale\n"
        "one is unlinked, and unlinked again on SIGINT or SIGTERM.\n"
        "\n"
        "Scenario file:\n"
        "  {\"requests\": [{\"group\": 2, \"command\": 3,\n"
        "                 \"payload_file\": \"users.bin\"   (relative to the scenario)\n"
        "              or \"payload_hex\": \"01 02 0a ff\"\n"
        "              or \"payload_size\": N, \"fill\": B  (N bytes of value B, default 0)\n"
        "                 \"used_len\": N     (sent as the used length instead of the\n"
        "                                   payload's size; without a payload the\n"
        "                                   output message is empty)\n"
        "                 \"fault\": \"NAME\", \"delay_ms\": N, \"comment\": \"...\"}],\n"
        "   \"SECTION\": ...}\n"
        "  The first entry for a (group, command) answers it. An output request with\n"
        "  no payload of its own is answered from the report section encoded for its\n"
        "  (group, command); with neither, the used length is 0. The payload is cut to\n"
        "  the data queue's real mq_msgsize (and out_len) when it is larger; the\n"
        "  record line then says \"capped\". Report sections:\n";
    for (const ReportEncoder &e : report_encoders())
    {
        std::string key = std::string("\"") + e.scenario_key + "\"";
        h += "    " + key + std::string(key.size() < 18 ? 18 - key.size() : 1, ' ') + "answers " +
             std::to_string(e.group) + "/" + std::to_string(e.command) + "\n";
    }
    h +=
        "\n"
        "Record files (in the record directory):\n"
        "  requests.jsonl          one JSON line per request: seq, kind (input, output,\n"
        "                          command), code, magic, group, command, reserved, flags,\n"
        "                          in_len, out_len, in_buf/out_buf/used_len_ptr (set or\n"
        "                          not), tail_zero, queue, queue_existed, mq_maxmsg,\n"
        "                          mq_msgsize, received, sent, used_len_sent, capped,\n"
        "                          fault, delay_ms, input_file, note, error\n"
        "  <group>-<command>-<seq>.bin   the input data of an input request\n"
        "\n"
        "Fault modes (\"fault\" in an entry, or --fault for all requests):\n";
    size_t n = 0;
    const FaultInfo *f = fault_table(&n);
    for (size_t i = 1; i < n; ++i) {
        std::string name = f[i].name;
        h += "  " + name + std::string(name.size() < 15 ? 15 - name.size() : 1, ' ') + f[i].help + "\n";
    }
    h +=
        "  With run_ioctl on the other side: never_read -> -2 once the 10 slots are\n"
        "  full; no_answer on an output request -> -3; empty_output -> -4;\n"
        "  used_len_zero -> 0; slow_drain on an input request -> -5; delay -> success\n"
        "  after the delay; unlink_early -> -3 from the caller's final unlink.\n";
    return h;
}

}  // namespace sim
