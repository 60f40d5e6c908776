// Settings from zerka.cfg, read once at start-up and used everywhere.
#pragma once

#include <cstddef>
#include <cstdio>
#include <string_view>

extern char zerka_root[80];       // root directory; relative file names are relative to it
extern char server_name[16];      // SERVER_NAME: short name of this installation
extern char prog_desc[16];        // prefix of the process names: first 5 of server_name, else "Zerka"
extern char server_mode[16];      // SERVER_MODE: "master", "standalone" or "local"
extern char master_server[16];    // MASTER_SERVER: host of the master server
extern int master_port;           // MASTER_PORT: port of the master (and the local) server
extern char master_root[80];      // MASTER_ROOT: root directory of the master installation
extern char secure[64];           // PASSWORD: maintenance password; empty when absent
extern char loopback_host[16];    // LOOPBACK: host of the local server
extern char export_dir[80];       // EXPORT_FOLDER: folder for exported files
extern char paranoia[64];         // PARANOIA: options of the CD ripping tool
extern char cd_rom[64];           // CD_DRIVE: device of a local CD drive
extern int cd_present;            // 1 when cd_rom begins with "/"
extern char wav_path[64];         // WAV_PATH: parent of the incoming WAV folders
// WAV_FOLDER: folder new albums are made from. Its symbol is not "dirname":
// that would stand in for the C library's dirname() for every library of the
// program (a call to it would jump into this text).
extern char dirname[64] asm("zerka_wav_folder");
extern int max_cdr_length;        // MAX_CDR_LENGTH: recordable CD capacity, 4800 when absent or 0
extern int master;                // 1 in master mode
extern int local_server;          // 1 in local mode

inline constexpr std::size_t k_cfg_line = 1024;

// Looks a key up in an open configuration file, reading from the top: the
// first line whose text (after leading blanks and tabs, and unless it is a
// comment or empty) begins with the key, compared case-insensitively over the
// key's length, wins. The value follows the key after any blanks, tabs and
// "="; a "#" from the value's second character on starts a comment, and only
// then are the blanks before it trimmed. Lines longer than the buffer are cut.
// Returns a pointer into line, or nullptr when no line matches.
const char *cfg_lookup(std::FILE *cfg, std::string_view key, char (&line)[k_cfg_line]);

// The value of a key from zerka.cfg under zerka_root. The text lives in one
// static buffer that the next call overwrites. A missing mandatory key, or a
// file that cannot be opened, ends the program with a message on standard error.
const char *get_cfg_item(const char *key, int mandatory);

// Reads every setting in start-up order into the globals above; a value too
// long for its buffer is a configuration error naming the key.
void read_configuration();
