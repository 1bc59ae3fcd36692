/* Records returned by the dw_ioctl facade: plain copyable value types. */
#ifndef DPIWRAPPER_RECORDS_H
#define DPIWRAPPER_RECORDS_H

#include <cstdint>
#include <string>
#include <vector>

/* A client device from the engine's user list, with the device database's
 * descriptions of its six identification codes. */
struct dpi_user {
    uint8_t uid = 0;
    std::string mac;
    uint16_t dev_attr = 0;
    std::string ipv4;
    std::string ipv6;
    std::string host_name;
    uint16_t dev_os_ids[6] = {0, 0, 0, 0, 0, 0};
    std::string dev_desc1, dev_desc2, dev_desc3, dev_desc4, dev_desc5, dev_desc6;
};

/* Common start of every security-log record; time orders them. */
struct dpi_base_sec_log {
    uint32_t time = 0;
    std::string mac;
};

/* Web-threat log: a blocked URL with its web category. */
struct dpi_web_log : dpi_base_sec_log {
    uint32_t cat_id = 0;
    std::string cat_name;
    uint8_t flag = 0;
    uint8_t from_router = 0;
    std::string url;
    std::string extra_text;  /* always empty from this decoder */
    uint32_t extra_id = 0;
};

/* TRS log: a connection with a local and a peer address. */
struct dpi_ip_log : dpi_base_sec_log {
    uint32_t cat_id = 0;
    std::string cat_name;
    uint8_t action = 0;
    uint8_t from_router = 0;
    uint8_t role = 0;
    std::string local_ip;
    std::string peer_ip;
    uint32_t local_port = 0;
    uint32_t peer_port = 0;
};

/* Anomaly detail log. */
struct dpi_inf_log : dpi_base_sec_log {
    uint32_t category_id = 0;
    std::string cat_name;  /* left empty */
    uint8_t action = 0;
    uint8_t from_router = 0;
    uint32_t rule_id = 0;
    std::string rule_name;
    uint32_t severity = 0;
    uint32_t direction = 0;
    uint32_t anomaly_attr = 0;
    std::string local_ip;
    std::string peer_ip;
};

/* Virtual-patch detail log: the anomaly fields without anomaly_attr. */
struct dpi_vul_log : dpi_base_sec_log {
    uint32_t category_id = 0;
    std::string cat_name;  /* left empty */
    uint8_t action = 0;
    uint8_t from_router = 0;
    uint32_t rule_id = 0;
    std::string rule_name;
    uint32_t severity = 0;
    uint32_t direction = 0;
    std::string local_ip;
    std::string peer_ip;
};

/* Every kind of security log the engine keeps. */
struct dpi_security_log {
    std::vector<dpi_vul_log> vul_logs;  /* virtual-patch detail logs */
    std::vector<dpi_inf_log> inf_logs;  /* anomaly detail logs */
    std::vector<dpi_web_log> web_logs;  /* web-threat logs */
    std::vector<dpi_ip_log> ip_logs;    /* TRS logs */
};

/* Orders time-stamped records ascending, comparing time as unsigned 32-bit. */
template <typename T>
bool sort_by_time(const T &a, const T &b)
{
    return static_cast<uint32_t>(a.time) < static_cast<uint32_t>(b.time);
}

#endif
