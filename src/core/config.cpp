#include "core/config.hpp"

#include "proto/text_util.hpp"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <memory>

char zerka_root[80];
char server_name[16];
char prog_desc[16];
char server_mode[16];
char master_server[16];
int master_port;
char master_root[80];
char secure[64];
char loopback_host[16];
char export_dir[80];
char paranoia[64];
char cd_rom[64];
int cd_present;
char wav_path[64];
char dirname[64];
int max_cdr_length;
int master;
int local_server;

namespace {

bool is_blank(char c) { return c == ' ' || c == '\t'; }

// Reads one line into line, cut at its newline; the rest of an over-long line is
// skipped so that it can never be taken for a line of its own.
bool read_line(std::FILE *f, char (&line)[k_cfg_line])
{
    if (std::fgets(line, sizeof line, f) == nullptr)
        return false;
    char *nl = std::strchr(line, '\n');
    if (nl != nullptr) {
        *nl = '\0';
        return true;
    }
    int c;
    while ((c = std::fgetc(f)) != EOF && c != '\n') {
    }
    return true;
}

struct file_closer {
    void operator()(std::FILE *f) const { std::fclose(f); }
};

}   // namespace

const char *cfg_lookup(std::FILE *cfg, std::string_view key, char (&line)[k_cfg_line])
{
    while (read_line(cfg, line)) {
        char *p = line;
        while (is_blank(*p))
            ++p;
        if (*p == '#' || *p == '\0')
            continue;
        if (compare_nocase(p, key, key.size()) != 0)
            continue;
        p += key.size();
        while (is_blank(*p) || *p == '=')
            ++p;
        // A "#" that starts the value is part of it; a later one starts a comment.
        if (*p != '\0') {
            char *hash = std::strchr(p + 1, '#');
            if (hash != nullptr) {
                *hash = '\0';
                while (hash > p && is_blank(hash[-1]))
                    *--hash = '\0';
            }
        }
        return p;
    }
    return nullptr;
}

const char *get_cfg_item(const char *key, int mandatory)
{
    static char line[k_cfg_line];
    char path[sizeof zerka_root + 16];
    std::snprintf(path, sizeof path, "%s/%s", zerka_root, "zerka.cfg");
    std::unique_ptr<std::FILE, file_closer> cfg(std::fopen(path, "r"));
    if (!cfg) {
        std::fprintf(stderr, "Cannot open configuration file - %s\n", std::strerror(errno));
        std::exit(1);
    }
    const char *value = cfg_lookup(cfg.get(), key, line);
    if (value != nullptr)
        return value;
    if (mandatory == 1) {
        std::fprintf(stderr, "Configuration error: \"%s\"\n", key);
        std::exit(1);
    }
    line[0] = '\0';
    return line;
}

namespace {

// Copies a setting into its buffer; a value that does not fit is refused rather than cut.
template <std::size_t N>
void store_setting(char (&dst)[N], const char *key, int mandatory)
{
    if (!copy_bounded(dst, get_cfg_item(key, mandatory))) {
        std::fprintf(stderr, "Configuration error: \"%s\"\n", key);
        std::exit(1);
    }
}

}   // namespace

void read_configuration()
{
    store_setting(server_name, "SERVER_NAME", 0);
    if (server_name[0] == '\0')
        copy_bounded(prog_desc, "Zerka");
    else
        copy_bounded(prog_desc, std::string_view(server_name).substr(0, 5));
    store_setting(server_mode, "SERVER_MODE", 1);
    store_setting(master_server, "MASTER_SERVER", 1);
    master_port = static_cast<int>(lenient_atol(get_cfg_item("MASTER_PORT", 1)));
    store_setting(master_root, "MASTER_ROOT", 1);
    store_setting(secure, "PASSWORD", 0);
    store_setting(loopback_host, "LOOPBACK", 1);
    store_setting(export_dir, "EXPORT_FOLDER", 1);
    store_setting(paranoia, "PARANOIA", 0);
    store_setting(cd_rom, "CD_DRIVE", 0);
    cd_present = cd_rom[0] == '/' ? 1 : 0;
    store_setting(wav_path, "WAV_PATH", 1);
    store_setting(dirname, "WAV_FOLDER", 1);
    max_cdr_length = static_cast<int>(lenient_atol(get_cfg_item("MAX_CDR_LENGTH", 0)));
    if (max_cdr_length == 0)
        max_cdr_length = 4800;
}
