// The message types of the jukebox protocol, one row per type.
//
// To add a type: give it a constant below and a row in msg_types (kept sorted
// by code). `traced` is false for the types the message tracer shows as a bare
// hexadecimal number although the code has a name in the program.
#pragma once

#include <algorithm>
#include <cstdint>
#include <string_view>

inline constexpr std::int64_t ALBUM_READ = 0x10;
inline constexpr std::int64_t ALBUM_WRITE = 0x11;
inline constexpr std::int64_t ALBUM_DELETE = 0x12;
inline constexpr std::int64_t ALBUM_DELETED = 0x13;
inline constexpr std::int64_t ALBUM_TEMP = 0x14;
inline constexpr std::int64_t ALBUM_NEW = 0x15;
inline constexpr std::int64_t REFRESH = 0x16;
inline constexpr std::int64_t ALBUM_WRITTEN = 0x17;
inline constexpr std::int64_t ALBUM_CHANGE = 0x18;
inline constexpr std::int64_t EDIT_ARTIST = 0x21;   // "old~new" replacement in one record's artist
inline constexpr std::int64_t EDIT_TITLE = 0x22;    // "old~new" replacement in one record's title
inline constexpr std::int64_t HISTORY = 0x23;
inline constexpr std::int64_t DIRLIST = 0x24;
inline constexpr std::int64_t GETTIME = 0x25;
inline constexpr std::int64_t RESET = 0x26;
inline constexpr std::int64_t DELETE = 0x27;
inline constexpr std::int64_t PLIST_ADD = 0x31;
inline constexpr std::int64_t PLIST_DELETE = 0x32;
inline constexpr std::int64_t PLIST_ADD_LOCAL = 0x33;
inline constexpr std::int64_t PLIST_UP = 0x34;
inline constexpr std::int64_t PLIST_DOWN = 0x35;
inline constexpr std::int64_t PLIST_NEXT = 0x36;
inline constexpr std::int64_t PLIST_SHUFFLE = 0x37;
inline constexpr std::int64_t PLIST_UPDATE = 0x38;
inline constexpr std::int64_t PLIST_NOW = 0x39;
inline constexpr std::int64_t PLIST_HISTORY = 0x3A;
inline constexpr std::int64_t PLIST_APPEND = 0x3B;
inline constexpr std::int64_t PLIST_KEEP = 0x3C;
inline constexpr std::int64_t PLIST_CLEAR = 0x3D;
inline constexpr std::int64_t PLIST_GET = 0x3E;
inline constexpr std::int64_t PLIST_READ = 0x3F;
inline constexpr std::int64_t GO = 0x41;
inline constexpr std::int64_t PAUSE = 0x42;
inline constexpr std::int64_t SKIP = 0x43;
inline constexpr std::int64_t STOP = 0x44;
inline constexpr std::int64_t CANCEL = 0x45;
inline constexpr std::int64_t TRACK_PICKED = 0x46;
inline constexpr std::int64_t TRACK_PREPARED = 0x47;
inline constexpr std::int64_t TRACK_PLAYED = 0x48;
inline constexpr std::int64_t PULSE_ERROR = 0x49;
inline constexpr std::int64_t CD_EMPTY = 0x4A;
inline constexpr std::int64_t CD_READY = 0x4B;
inline constexpr std::int64_t RIP_DONE = 0x4C;
inline constexpr std::int64_t INPUT = 0x4D;
inline constexpr std::int64_t RET_TRACK = 0x4E;
inline constexpr std::int64_t UNPLAYABLE = 0x51;
inline constexpr std::int64_t OFFLINE = 0x52;
inline constexpr std::int64_t SHORTLIST = 0x53;
inline constexpr std::int64_t DONOTPLAY = 0x54;
inline constexpr std::int64_t NO_SELECT = 0x56;
inline constexpr std::int64_t LINK_TRACK = 0x57;
inline constexpr std::int64_t LINK_QUERY = 0x58;
inline constexpr std::int64_t RET_REQ = 0x61;
inline constexpr std::int64_t CD_LOADED = 0x62;
inline constexpr std::int64_t CANCELLED = 0x63;
inline constexpr std::int64_t EXOCD = 0x64;
inline constexpr std::int64_t RET_PROG = 0x65;
inline constexpr std::int64_t RET_DONE = 0x66;
inline constexpr std::int64_t RET_FINAL = 0x67;
inline constexpr std::int64_t RET_FAILED = 0x68;
inline constexpr std::int64_t KNOWN_CD = 0x69;
inline constexpr std::int64_t FREEDB = 0x6A;
inline constexpr std::int64_t CD_EJECT = 0x6B;
inline constexpr std::int64_t RET_CHECK = 0x6C;
inline constexpr std::int64_t AUDIO = 0x6D;
inline constexpr std::int64_t WRITE_CD = 0x6E;
inline constexpr std::int64_t CDW_DONE = 0x6F;
inline constexpr std::int64_t CLIENT_OPEN = 0x70;
inline constexpr std::int64_t OFFLINE_PLIST_READ = 0x71;
inline constexpr std::int64_t OFFLINE_PLIST_UPDATE = 0x72;
inline constexpr std::int64_t REBOOT = 0xA1;
inline constexpr std::int64_t SHUTDOWN = 0xA2;
inline constexpr std::int64_t STOP_SERVICE = 0xA3;
inline constexpr std::int64_t SERVER_DOWN = 0xA4;
inline constexpr std::int64_t SERVER_NOTICE = 0xA5;
inline constexpr std::int64_t MODE_UNDEFINED = 0xB0;   // a value of the playing mode, never a message
inline constexpr std::int64_t CONSOLE = 0xB1;
inline constexpr std::int64_t JUKEBOX = 0xB2;
inline constexpr std::int64_t RANDOM = 0xB3;
inline constexpr std::int64_t MIXED = 0xB4;
inline constexpr std::int64_t PLAYLST = 0xB5;
inline constexpr std::int64_t PLAYMIXED = 0xB6;
inline constexpr std::int64_t GET_MODE = 0xB7;
inline constexpr std::int64_t CHANGE_MODE = 0xB8;
inline constexpr std::int64_t SET_PLIST = 0xB9;
inline constexpr std::int64_t GET_PLIST = 0xBA;
inline constexpr std::int64_t CD_WAITING = 0xBB;

struct msg_type_entry {
    std::int64_t code;
    std::string_view name;   // as the message tracer prints it
    bool traced;             // false: the tracer shows the code as "%8.8lX"
};

inline constexpr msg_type_entry msg_types[] = {
    {.code = ALBUM_READ, .name = "ALBUM_READ", .traced = true},
    {.code = ALBUM_WRITE, .name = "ALBUM_WRITE", .traced = true},
    {.code = ALBUM_DELETE, .name = "ALBUM_DELETE", .traced = true},
    {.code = ALBUM_DELETED, .name = "ALBUM_DELETED", .traced = true},
    {.code = ALBUM_TEMP, .name = "ALBUM_TEMP", .traced = true},
    {.code = ALBUM_NEW, .name = "ALBUM_NEW", .traced = true},
    {.code = REFRESH, .name = "REFRESH", .traced = true},
    {.code = ALBUM_WRITTEN, .name = "ALBUM_WRITTEN", .traced = true},
    {.code = ALBUM_CHANGE, .name = "ALBUM_CHANGE", .traced = true},
    {.code = EDIT_ARTIST, .name = "EDIT_ARTIST", .traced = false},
    {.code = EDIT_TITLE, .name = "EDIT_TITLE", .traced = false},
    {.code = HISTORY, .name = "HISTORY", .traced = true},
    {.code = DIRLIST, .name = "DIRLIST", .traced = true},
    {.code = GETTIME, .name = "GETTIME", .traced = true},
    {.code = RESET, .name = "RESET", .traced = true},
    {.code = DELETE, .name = "DELETE", .traced = true},
    {.code = PLIST_ADD, .name = "PLIST_ADD", .traced = true},
    {.code = PLIST_DELETE, .name = "PLIST_DELETE", .traced = true},
    {.code = PLIST_ADD_LOCAL, .name = "PLIST_ADD_LOCAL", .traced = true},
    {.code = PLIST_UP, .name = "PLIST_UP", .traced = true},
    {.code = PLIST_DOWN, .name = "PLIST_DOWN", .traced = true},
    {.code = PLIST_NEXT, .name = "PLIST_NEXT", .traced = true},
    {.code = PLIST_SHUFFLE, .name = "PLIST_SHUFFLE", .traced = true},
    {.code = PLIST_UPDATE, .name = "PLIST_UPDATE", .traced = true},
    {.code = PLIST_NOW, .name = "PLIST_NOW", .traced = true},
    {.code = PLIST_HISTORY, .name = "PLIST_HISTORY", .traced = true},
    {.code = PLIST_APPEND, .name = "PLIST_APPEND", .traced = true},
    {.code = PLIST_KEEP, .name = "PLIST_KEEP", .traced = true},
    {.code = PLIST_CLEAR, .name = "PLIST_CLEAR", .traced = true},
    {.code = PLIST_GET, .name = "PLIST_GET", .traced = true},
    {.code = PLIST_READ, .name = "PLIST_READ", .traced = true},
    {.code = GO, .name = "GO", .traced = true},
    {.code = PAUSE, .name = "PAUSE", .traced = true},
    {.code = SKIP, .name = "SKIP", .traced = true},
    {.code = STOP, .name = "STOP", .traced = true},
    {.code = CANCEL, .name = "CANCEL", .traced = true},
    {.code = TRACK_PICKED, .name = "TRACK_PICKED", .traced = true},
    {.code = TRACK_PREPARED, .name = "TRACK_PREPARED", .traced = true},
    {.code = TRACK_PLAYED, .name = "TRACK_PLAYED", .traced = true},
    {.code = PULSE_ERROR, .name = "PULSE_ERROR", .traced = true},
    {.code = CD_EMPTY, .name = "CD_EMPTY", .traced = true},
    {.code = CD_READY, .name = "CD_READY", .traced = true},
    {.code = RIP_DONE, .name = "RIP_DONE", .traced = true},
    {.code = INPUT, .name = "INPUT", .traced = true},
    {.code = RET_TRACK, .name = "RET_TRACK", .traced = false},
    {.code = UNPLAYABLE, .name = "UNPLAYABLE", .traced = true},
    {.code = OFFLINE, .name = "OFFLINE", .traced = true},
    {.code = SHORTLIST, .name = "SHORTLIST", .traced = true},
    {.code = DONOTPLAY, .name = "DONOTPLAY", .traced = true},
    {.code = NO_SELECT, .name = "NO_SELECT", .traced = true},
    {.code = LINK_TRACK, .name = "LINK_TRACK", .traced = true},
    {.code = LINK_QUERY, .name = "LINK_QUERY", .traced = true},
    {.code = RET_REQ, .name = "RET_REQ", .traced = true},
    {.code = CD_LOADED, .name = "CD_LOADED", .traced = true},
    {.code = CANCELLED, .name = "CANCELLED", .traced = true},
    {.code = EXOCD, .name = "EXOCD", .traced = true},
    {.code = RET_PROG, .name = "RET_PROG", .traced = true},
    {.code = RET_DONE, .name = "RET_DONE", .traced = true},
    {.code = RET_FINAL, .name = "RET_FINAL", .traced = true},
    {.code = RET_FAILED, .name = "RET_FAILED", .traced = true},
    {.code = KNOWN_CD, .name = "KNOWN_CD", .traced = true},
    {.code = FREEDB, .name = "FREEDB", .traced = true},
    {.code = CD_EJECT, .name = "CD_EJECT", .traced = true},
    {.code = RET_CHECK, .name = "RET_CHECK", .traced = true},
    {.code = AUDIO, .name = "AUDIO", .traced = true},
    {.code = WRITE_CD, .name = "WRITE_CD", .traced = true},
    {.code = CDW_DONE, .name = "CDW_DONE", .traced = true},
    {.code = CLIENT_OPEN, .name = "CLIENT_OPEN", .traced = true},
    {.code = OFFLINE_PLIST_READ, .name = "OFFLINE_PLIST_READ", .traced = true},
    {.code = OFFLINE_PLIST_UPDATE, .name = "OFFLINE_PLIST_UPDATE", .traced = true},
    {.code = REBOOT, .name = "REBOOT", .traced = true},
    {.code = SHUTDOWN, .name = "SHUTDOWN", .traced = true},
    {.code = STOP_SERVICE, .name = "STOP_SERVICE", .traced = true},
    {.code = SERVER_DOWN, .name = "SERVER_DOWN", .traced = false},
    {.code = SERVER_NOTICE, .name = "SERVER_NOTICE", .traced = false},
    {.code = CONSOLE, .name = "CONSOLE", .traced = true},
    {.code = JUKEBOX, .name = "JUKEBOX", .traced = true},
    {.code = RANDOM, .name = "RANDOM", .traced = true},
    {.code = MIXED, .name = "MIXED", .traced = true},
    {.code = PLAYLST, .name = "PLAYLST", .traced = true},
    {.code = PLAYMIXED, .name = "PLAYMIXED", .traced = true},
    {.code = GET_MODE, .name = "GET_MODE", .traced = true},
    {.code = CHANGE_MODE, .name = "CHANGE MODE", .traced = true},
    {.code = SET_PLIST, .name = "SET_PLIST", .traced = true},
    {.code = GET_PLIST, .name = "GET_PLIST", .traced = true},
    {.code = CD_WAITING, .name = "CD WAITING", .traced = true},
};
static_assert(std::ranges::is_sorted(msg_types, {}, &msg_type_entry::code));

// The row of a type in msg_types, or -1 for a code without a name. (An index
// rather than a pointer: GCC 12 cannot evaluate a pointer's comparison with
// nullptr at compile time when the undefined-behaviour sanitizer is on.)
constexpr int msg_type_row(std::int64_t code)
{
    const auto it = std::ranges::lower_bound(msg_types, code, {}, &msg_type_entry::code);
    return it != std::end(msg_types) && it->code == code ? static_cast<int>(it - std::begin(msg_types)) : -1;
}

// The name the tracer prints for a type, or an empty view when it prints the number.
constexpr std::string_view traced_msg_name(std::int64_t code)
{
    const int row = msg_type_row(code);
    return row >= 0 && msg_types[row].traced ? msg_types[row].name : std::string_view{};
}

// Code of a type by name (any name in the table), or -1.
constexpr std::int64_t msg_code_by_name(std::string_view name)
{
    for (const msg_type_entry &e : msg_types)
        if (e.name == name)
            return e.code;
    return -1;
}

static_assert(traced_msg_name(0xA4).empty());
static_assert(traced_msg_name(0xB8) == "CHANGE MODE");
static_assert(msg_code_by_name("CD WAITING") == 0xBB);
