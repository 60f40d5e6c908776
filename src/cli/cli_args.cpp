#include "cli/cli_args.hpp"

#include "proto/msg_types.hpp"
#include "proto/text_util.hpp"

#include <string_view>

namespace {

// True when arg begins with the option word (compared over the word's length).
bool has_prefix(std::string_view arg, std::string_view word) { return arg.substr(0, word.size()) == word; }

// The scan's position in the argument vector.
struct arg_cursor {
    int argc;
    const char *const *argv;
    int i;

    // The next argument, consumed; nullptr when there is none.
    const char *take_next()
    {
        if (i + 1 >= argc || argv[i + 1] == nullptr)
            return nullptr;
        return argv[++i];
    }
};

// The rest of --playlist: which playlist operation the argument names.
void playlist_option(std::string_view rest, arg_cursor &c, cli_options &o)
{
    o.playlist = true;
    if (has_prefix(rest, "-search")) {
        o.search = true;
        o.list_playlists = true;
    } else if (has_prefix(rest, "-use")) {
        const char *name = c.take_next();
        if (name == nullptr) {
            o.action = cli_action::format_error;
            return;
        }
        copy_bounded(o.plist_name, name);
        o.use = true;
        o.type = PLIST_APPEND;
    } else if (has_prefix(rest, "-print")) {
        o.print = true;
    } else if (has_prefix(rest, "-add")) {
        o.add = true;
        o.type = o.list_type = PLIST_ADD;
        if (const char *item = c.take_next())
            copy_bounded(o.item, item);
    } else if (has_prefix(rest, "-del")) {
        o.del = true;
        o.type = o.list_type = PLIST_DELETE;
        if (const char *item = c.take_next())
            copy_bounded(o.item, item);
    } else {
        o.print = true;
    }
}

// Tests one argument against the options in their order; false when the scan ends here.
bool scan_one(arg_cursor &c, cli_options &o)
{
    const std::string_view arg = c.argv[c.i];
    if (has_prefix(arg, "--help")) {
        o.action = cli_action::help;
        return false;
    }
    if (has_prefix(arg, "--next") || has_prefix(arg, "--skip")) {
        o.action = cli_action::skip;
        return false;
    }
    if (has_prefix(arg, "--stop")) {
        o.action = arg.substr(6) == "-local" ? cli_action::stop_local : cli_action::stop;
        return false;
    }
    if (has_prefix(arg, "--playlist") && o.mode) {
        const char *target = c.take_next();
        copy_bounded(o.target, target != nullptr ? target : k_any_target);
        return true;
    }
    if (has_prefix(arg, "--playlist")) {
        playlist_option(arg.substr(10), c, o);
        return o.action == cli_action::none;
    }
    if (has_prefix(arg, "--shortlist")) {
        o.shortlist = true;
        if (has_prefix(arg.substr(11), "-del")) {
            o.del = true;
            o.type = o.list_type = DONOTPLAY;   // taking a track off the short-list is sent as DONOTPLAY
        } else {
            o.type = o.list_type = SHORTLIST;
        }
        if (const char *item = c.take_next())
            copy_bounded(o.item, item);
        return true;
    }
    if (has_prefix(arg, "--search")) {
        o.search = true;
        o.artist[0] = '\0';
        o.title[0] = '\0';
        return true;
    }
    if (arg == "--artist") {
        if (const char *text = c.take_next())
            copy_bounded(o.artist, text);
        return true;
    }
    if (arg == "--title") {
        if (const char *text = c.take_next())
            copy_bounded(o.title, text);
        return true;
    }
    if (has_prefix(arg, "--history")) {
        o.action = cli_action::history;
        return false;
    }
    // --album marks the search and then goes on through the remaining options.
    if (has_prefix(arg, "--album"))
        o.album_only = true;
    if (has_prefix(arg, "--audio")) {
        o.action = has_prefix(arg.substr(7), "-off") ? cli_action::audio_off : cli_action::audio_on;
        return false;
    }
    if (has_prefix(arg, "--mode")) {
        o.mode = true;
        if (c.i + 1 < c.argc && c.argv[c.i + 1] != nullptr && c.argv[c.i + 1][0] != '-')
            copy_bounded(o.mode_name, c.take_next());
        return true;
    }
    return true;   // anything else is ignored
}

}   // namespace

cli_options scan_arguments(int argc, const char *const *argv)
{
    cli_options o;
    arg_cursor c = {.argc = argc, .argv = argv, .i = 1};
    for (; c.i < argc && argv[c.i] != nullptr; ++c.i)
        if (!scan_one(c, o))
            break;
    return o;
}
