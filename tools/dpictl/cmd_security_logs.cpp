// dpictl security-logs: web threats, TRS connections, anomalies and
// virtual-patch hits, one table per kind ordered by time.
#include <algorithm>
#include <cstdio>
#include <cstring>
#include <ctime>

#include "dpiwrapper/dw_ioctl.h"
#include "tools/dpictl/command.h"
#include "tools/dpictl/output.h"

namespace dpictl {
namespace {

enum Kind { kWeb, kTrs, kAnomaly, kVp, kKinds };

struct KindInfo {
    const char *name;   // --kind value and JSON key
    const char *title;  // table heading
    int (dw_ioctl::*fetch)(dpi_security_log &);
};

const KindInfo kKindTable[kKinds] = {
    {"web", "Web threats", &dw_ioctl::get_wrs_sec_logs},
    {"trs", "TRS connections", &dw_ioctl::get_trs_logs},
    {"anomaly", "Anomalies", &dw_ioctl::get_anomaly_detail_logs},
    {"vp", "Virtual-patch hits", &dw_ioctl::get_vp_detail_logs},
};

// Seconds as "2024-05-01 08:30:00" in UTC.
std::string utc_text(uint32_t t)
{
    const time_t secs = static_cast<time_t>(t);
    struct tm tm;
    char text[32];
    if (!gmtime_r(&secs, &tm) || !std::strftime(text, sizeof text, "%Y-%m-%d %H:%M:%S", &tm))
        return std::to_string(t);
    return text;
}

std::string named(const std::string &name, uint32_t id)
{
    return name.empty() ? std::to_string(id) : name + " (" + std::to_string(id) + ")";
}

std::string endpoint(const std::string &ip, uint32_t port)
{
    if (ip.empty()) return "-";
    const bool v6 = ip.find(':') != std::string::npos;
    return (v6 ? "[" + ip + "]" : ip) + ":" + std::to_string(port);
}

template <typename Rec>
void sort_by_time_unstable(std::vector<Rec> &v)
{
    std::sort(v.begin(), v.end(), sort_by_time<dpi_base_sec_log>);
}

// Fields shared by anomaly and virtual-patch records.
template <typename Rec>
std::vector<std::string> detail_row(const Rec &r)
{
    return {utc_text(r.time), r.from_router ? "router" : r.mac, named(r.rule_name, r.rule_id),
            std::to_string(r.category_id), std::to_string(r.severity), r.local_ip, r.peer_ip,
            std::to_string(r.direction), std::to_string(r.action)};
}

template <typename Rec>
json_t *detail_json(const Rec &r)
{
    json_t *o = json_object();
    json_object_set_new(o, "time", json_integer(r.time));
    json_object_set_new(o, "time_utc", json_text(utc_text(r.time)));
    json_object_set_new(o, "mac", json_text(r.mac));
    json_object_set_new(o, "from_router", json_boolean(r.from_router));
    json_object_set_new(o, "rule_id", json_integer(r.rule_id));
    json_object_set_new(o, "rule_name", json_text(r.rule_name));
    json_object_set_new(o, "category_id", json_integer(r.category_id));
    json_object_set_new(o, "severity", json_integer(r.severity));
    json_object_set_new(o, "direction", json_integer(r.direction));
    json_object_set_new(o, "action", json_integer(r.action));
    json_object_set_new(o, "local_ip", json_text(r.local_ip));
    json_object_set_new(o, "peer_ip", json_text(r.peer_ip));
    return o;
}

json_t *web_json(const dpi_web_log &r)
{
    json_t *o = json_object();
    json_object_set_new(o, "time", json_integer(r.time));
    json_object_set_new(o, "time_utc", json_text(utc_text(r.time)));
    json_object_set_new(o, "mac", json_text(r.mac));
    json_object_set_new(o, "cat_id", json_integer(r.cat_id));
    json_object_set_new(o, "cat_name", json_text(r.cat_name));
    json_object_set_new(o, "url", json_text(r.url));
    json_object_set_new(o, "flag", json_integer(r.flag));
    json_object_set_new(o, "extra_id", json_integer(r.extra_id));
    return o;
}

json_t *trs_json(const dpi_ip_log &r)
{
    json_t *o = json_object();
    json_object_set_new(o, "time", json_integer(r.time));
    json_object_set_new(o, "time_utc", json_text(utc_text(r.time)));
    json_object_set_new(o, "mac", json_text(r.mac));
    json_object_set_new(o, "cat_id", json_integer(r.cat_id));
    json_object_set_new(o, "cat_name", json_text(r.cat_name));
    json_object_set_new(o, "role", json_integer(r.role));
    json_object_set_new(o, "action", json_integer(r.action));
    json_object_set_new(o, "local_ip", json_text(r.local_ip));
    json_object_set_new(o, "local_port", json_integer(r.local_port));
    json_object_set_new(o, "peer_ip", json_text(r.peer_ip));
    json_object_set_new(o, "peer_port", json_integer(r.peer_port));
    return o;
}

template <typename Rec, typename ToJson>
json_t *json_list(const std::vector<Rec> &v, ToJson to_json)
{
    json_t *list = json_array();
    for (const Rec &r : v) json_array_append_new(list, to_json(r));
    return list;
}

void print_tables(const dpi_security_log &logs, const bool shown[kKinds])
{
    bool first = true;
    auto heading = [&first](Kind k, size_t n) {
        std::printf("%s%s (%zu)\n", first ? "" : "\n", kKindTable[k].title, n);
        first = false;
    };
    if (shown[kWeb]) {
        heading(kWeb, logs.web_logs.size());
        Table t({"TIME (UTC)", "MAC", "CATEGORY", "URL", "FLAG"});
        for (const auto &r : logs.web_logs)
            t.add_row({utc_text(r.time), r.mac, named(r.cat_name, r.cat_id), r.url,
                       std::to_string(r.flag)});
        t.print();
    }
    if (shown[kTrs]) {
        heading(kTrs, logs.ip_logs.size());
        Table t({"TIME (UTC)", "MAC", "LOCAL", "PEER", "CATEGORY", "ROLE", "ACTION"});
        for (const auto &r : logs.ip_logs)
            t.add_row({utc_text(r.time), r.mac, endpoint(r.local_ip, r.local_port),
                       endpoint(r.peer_ip, r.peer_port), named(r.cat_name, r.cat_id),
                       std::to_string(r.role), std::to_string(r.action)});
        t.print();
    }
    const std::vector<std::string> detail_head = {"TIME (UTC)", "CLIENT", "RULE", "CATEGORY",
                                                  "SEVERITY", "LOCAL", "PEER", "DIR", "ACTION"};
    if (shown[kAnomaly]) {
        heading(kAnomaly, logs.inf_logs.size());
        std::vector<std::string> head = detail_head;
        head.push_back("ATTR");
        Table t(head);
        for (const auto &r : logs.inf_logs) {
            auto row = detail_row(r);
            row.push_back(std::to_string(r.anomaly_attr));
            t.add_row(row);
        }
        t.print();
    }
    if (shown[kVp]) {
        heading(kVp, logs.vul_logs.size());
        Table t(detail_head);
        for (const auto &r : logs.vul_logs) t.add_row(detail_row(r));
        t.print();
    }
}

void print_json(const dpi_security_log &logs, const bool shown[kKinds])
{
    json_t *doc = json_object();
    if (shown[kWeb]) json_object_set_new(doc, "web", json_list(logs.web_logs, web_json));
    if (shown[kTrs]) json_object_set_new(doc, "trs", json_list(logs.ip_logs, trs_json));
    if (shown[kAnomaly])
        json_object_set_new(doc, "anomaly", json_list(logs.inf_logs, [](const dpi_inf_log &r) {
                                json_t *o = detail_json(r);
                                json_object_set_new(o, "anomaly_attr", json_integer(r.anomaly_attr));
                                return o;
                            }));
    if (shown[kVp]) json_object_set_new(doc, "vp", json_list(logs.vul_logs, detail_json<dpi_vul_log>));
    emit_json(doc);
}

int run_security_logs(Context &ctx, int argc, char **argv)
{
    int only = -1;
    for (int i = 1; i < argc; ++i) {
        const char *value = nullptr;
        if (std::strcmp(argv[i], "--kind") == 0) {
            if (++i >= argc) return usage_error(ctx, "--kind needs web, trs, anomaly or vp");
            value = argv[i];
        } else if (std::strncmp(argv[i], "--kind=", 7) == 0) {
            value = argv[i] + 7;
        } else {
            return usage_error(ctx, "unexpected argument '%s'", argv[i]);
        }
        only = -1;
        for (int k = 0; k < kKinds; ++k)
            if (std::strcmp(value, kKindTable[k].name) == 0) only = k;
        if (only < 0) return usage_error(ctx, "unknown kind '%s' (web, trs, anomaly or vp)", value);
    }

    dw_ioctl dw;
    dpi_security_log logs;
    bool shown[kKinds];
    int rc;
    {
        QuietStdout quiet(ctx.json);
        if (only < 0) {
            rc = dw.get_security_logs(logs);
        } else {
            rc = (dw.*kKindTable[only].fetch)(logs);
            sort_by_time_unstable(logs.web_logs);
            sort_by_time_unstable(logs.ip_logs);
            sort_by_time_unstable(logs.inf_logs);
            sort_by_time_unstable(logs.vul_logs);
        }
    }
    for (int k = 0; k < kKinds; ++k) shown[k] = only < 0 || only == k;

    if (ctx.json)
        print_json(logs, shown);
    else
        print_tables(logs, shown);
    if (rc == 0) return kExitOk;
    // Without --kind only the virtual-patch request decides the result.
    return failure(ctx, "%s request failed (%d)", only < 0 ? "virtual-patch" : kKindTable[only].name, rc);
}

}  // namespace

extern const Command cmd_security_logs = {
    "security-logs", "[--kind web|trs|anomaly|vp]",
    "security events by kind, ordered by time",
    "Web threats are named from the web-category mapping (wrs.security.conf and\n"
    "wrs.parental.conf in DPI_KIV_CONF) and reported only while it can be loaded;\n"
    "anomaly and virtual-patch rules are named from RULE_DB_PATH and get their\n"
    "category and severity from IPS_DB_PATH. Times are shown in UTC.\n",
    run_security_logs};

}  // namespace dpictl
