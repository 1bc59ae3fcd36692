/* Where the reference databases, signature companions and scratch files
 * live: the exported path buffers, filled from "udata.json". */
#include <jansson.h>
#include <libgen.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

#include <memory>
#include <new>

#include "dpiwrapper/paths.h"
#include "transport/error_log.h"

char BASE_PATH[DW_PATH_SIZE];
char TMP_FILE_PATH[DW_PATH_SIZE];
char SIG_FILE_PATH[DW_PATH_SIZE];
char NVRAM_DIR[DW_PATH_SIZE];
char APP_INF_DB_PATH[DW_PATH_SIZE];
char APP_CAT_DB_PATH[DW_PATH_SIZE];
char DEV_OS_DB_PATH[DW_PATH_SIZE];
char RULE_DB_PATH[DW_PATH_SIZE];
char IPS_DB_PATH[DW_PATH_SIZE];
char SIG_VER_FILE[DW_PATH_SIZE];
char DEFAULT_TRF_PATH[DW_PATH_SIZE];
char DEFAULT_SCHEMA_PATH[DW_PATH_SIZE];
char META_DEF_FNAME[DW_PATH_SIZE];
char META_B_DEF_FNAME[DW_PATH_SIZE];
char CTE_DBG_TMP_FILE[DW_PATH_SIZE];

namespace {

const char kSettingsFile[] = "udata.json";
const char kDefaultSettingsDir[] = "/tmp/korad/";
const char kMiddleDir[] = "mub/";
const char kMiddleName[] = "dpi";

using PathBuffer = std::unique_ptr<char[]>;

PathBuffer new_path_buffer()
{
    PathBuffer buffer(new (std::nothrow) char[DW_PATH_SIZE]);
    if (buffer) buffer[0] = '\0';
    return buffer;
}

/* The directories read from the settings file, in the order they are read. */
struct SettingsDir {
    const char *key;
    const char *error_name;
    char *global;
};

const SettingsDir kSettingsDirs[] = {
    {"base_path", "EXP_BASE_PATH", BASE_PATH},
    {"tmp_path", "EXP_TMP_PATH", TMP_FILE_PATH},
    {"sig_path", "EXP_SIG_PATH", SIG_FILE_PATH},
    {"nvram_path", "EXP_NVRAM_PATH", NVRAM_DIR},
};

enum class DirArg { DATA, PERSIST };

/* The composed file paths, in the order they are composed. */
struct FilePath {
    char *global;
    const char *name;
    DirArg dir;
    const char *file;
};

const FilePath kFilePaths[] = {
    {APP_INF_DB_PATH, "APP_INF_DB_PATH", DirArg::DATA, "korad.app.db"},
    {APP_CAT_DB_PATH, "APP_CAT_DB_PATH", DirArg::DATA, "korad.cat.db"},
    {DEV_OS_DB_PATH, "DEV_OS_DB_PATH", DirArg::DATA, "korad.devdb.db"},
    {RULE_DB_PATH, "RULE_DB_PATH", DirArg::DATA, "korad.rule.db"},
    {IPS_DB_PATH, "IPS_DB_PATH", DirArg::DATA, "korad.ips.db"},
    {SIG_VER_FILE, "SIG_VER_FILE", DirArg::PERSIST, "sig_version"},
    {DEFAULT_TRF_PATH, "DEFAULT_TRF_PATH", DirArg::PERSIST, "rule.trf"},
    {DEFAULT_SCHEMA_PATH, "DEFAULT_SCHEMA_PATH", DirArg::PERSIST, "rule_schema.trf"},
    {META_DEF_FNAME, "META_DEF_FNAME", DirArg::PERSIST, "meta_en-US.dat"},
    {META_B_DEF_FNAME, "META_B_DEF_FNAME", DirArg::PERSIST, "meta.dat"},
    {CTE_DBG_TMP_FILE, "CTE_DBG_TMP_FILE", DirArg::DATA, "cte_dbg.txt"},
};

/* Paths readable by index through get_kiv_paths. */
const char *const kIndexedPaths[] = {
    TMP_FILE_PATH, SIG_FILE_PATH, NVRAM_DIR, APP_INF_DB_PATH,
    APP_CAT_DB_PATH, DEV_OS_DB_PATH, RULE_DB_PATH, IPS_DB_PATH,
};

/* Directory of the running program (not of this library). */
void program_dir(char *buffer)
{
    char link[32];
    snprintf(link, sizeof link, "/proc/%d/exe", static_cast<int>(getpid()));
    ssize_t n = readlink(link, buffer, DW_PATH_SIZE - 1);
    buffer[n > 0 ? n : 0] = '\0';
    /* dirname may return a static string or a pointer into buffer. */
    const char *dir = dirname(buffer);
    if (dir != buffer) memmove(buffer, dir, strlen(dir) + 1);
}

/* Copies the settings' directories into their globals; -1 on an over-long one. */
int read_settings_dirs(json_t *root)
{
    json_t *configs = json_object_get(root, "configs");
    for (const SettingsDir &dir : kSettingsDirs) {
        json_t *value = configs ? json_object_get(configs, dir.key) : nullptr;
        if (!json_is_string(value)) continue;
        const size_t len = json_string_length(value);
        if (len == 0) continue;
        if (len >= DW_PATH_SIZE) {
            DW_ERROR_AS("parse_udata", "Error: %s len %zu >= %zu\n\n", dir.error_name, len,
                        static_cast<size_t>(DW_PATH_SIZE));
            return -1;
        }
        memcpy(dir.global, json_string_value(value), len);
        dir.global[len] = '\0';
    }
    return 0;
}

}  // namespace

int parse_udata(void)
{
    PathBuffer path = new_path_buffer();
    if (!path) return -1;
    const char *env = getenv("UDATA_PATH");
    if (env != nullptr) {
        const size_t n = strlen(env);
        if (n + 11 > DW_PATH_SIZE) {
            DW_ERROR("Error: %s len %zu >= %zu\n\n", "udata_path", n + 10, static_cast<size_t>(DW_PATH_SIZE));
            return -1;
        }
        /* At exactly the limit no path is composed and loading fails below. */
        if (n + 11 < DW_PATH_SIZE) snprintf(path.get(), DW_PATH_SIZE, "%s/%s", env, kSettingsFile);
    } else {
        snprintf(path.get(), DW_PATH_SIZE, "%s/%s", kDefaultSettingsDir, kSettingsFile);
    }

    json_error_t error;
    json_t *root = json_load_file(path.get(), 0, &error);
    if (root == nullptr) {
        fprintf(stderr, "WARN: Failed to load '%s' in '%s'. Try exporting 'UDATA_PATH'.\n", kSettingsFile,
                path.get());
    } else {
        const int read = read_settings_dirs(root);
        json_decref(root);
        if (read != 0) return -1;
    }
    return set_kiv_paths(TMP_FILE_PATH, SIG_FILE_PATH, NVRAM_DIR);
}

int set_kiv_paths(const char *data_dir, const char *sig_dir, const char *persist_dir)
{
    (void)sig_dir;
    PathBuffer self_dir;  /* found once, when a path first needs it */
    PathBuffer composed = new_path_buffer();
    if (!composed) return -1;

    for (const FilePath &entry : kFilePaths) {
        const char *given = entry.dir == DirArg::DATA ? data_dir : persist_dir;
        const char *dir = given;
        bool middle = false;
        if (given == nullptr || given[0] == '\0') {
            if (BASE_PATH[0] != '\0') {
                dir = BASE_PATH;
                middle = true;
            } else {
                if (!self_dir) {
                    self_dir = new_path_buffer();
                    if (!self_dir) return -1;
                    program_dir(self_dir.get());
                }
                dir = self_dir.get();
            }
        }

        size_t len = strlen(dir) + strlen(entry.file) + 2;
        if (middle) len += strlen(kMiddleName) + 4;
        if (len >= DW_PATH_SIZE) {
            DW_ERROR_PAREN("set_kiv_paths", "Error: %s len %zu >= %zu\n", entry.name, len,
                           static_cast<size_t>(DW_PATH_SIZE));
            return -1;
        }
        /* Without the middle part the directory and file are joined by two
         * slashes; the engine's tools have always produced them. */
        const int written = snprintf(composed.get(), DW_PATH_SIZE, "%s/%s%s/%s", dir, middle ? kMiddleDir : "",
                                     middle ? kMiddleName : "", entry.file);
        if (written < 0) return -1;
        memcpy(entry.global, composed.get(), static_cast<size_t>(written) + 1);
    }
    return 0;
}

int get_kiv_paths(unsigned int index, unsigned char *length, const char **path)
{
    if (path) *path = nullptr;
    if (length) *length = 0;
    if (index >= sizeof kIndexedPaths / sizeof kIndexedPaths[0]) return -1;
    if (path) *path = kIndexedPaths[index];
    if (length) *length = static_cast<unsigned char>(strlen(kIndexedPaths[index]));
    return 1;
}
