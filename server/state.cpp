#include "server/state.hpp"

#include <charconv>
#include <ctime>

server_paths paths_for_root(const std::string &root)
{
    return {.root = root,
            .media = root + "/Media",
            .playlists = root + "/PlayLists",
            .history = root + "/History",
            .database = root + "/zerka.db"};
}

std::int64_t wall_now(const server_state &st)
{
    return st.wall_clock != nullptr ? st.wall_clock() : static_cast<std::int64_t>(std::time(nullptr));
}

bool state_open(server_state &st, const std::string &root, std::string &error)
{
    st.paths = paths_for_root(root);
    st.history.dir = st.paths.history;
    st.history.current.clear();
    if (!store_open(st.store, st.paths.database, error))
        return false;
    const std::string mode = store_setting(st.store, "mode", "2");
    int m = k_mode_jukebox;
    std::from_chars(mode.data(), mode.data() + mode.size(), m);
    // Console mode belongs to a connection; a restarted server has none.
    st.player.mode = m >= k_mode_jukebox && m <= k_mode_playmixed ? m : k_mode_jukebox;
    st.player.selection = store_setting(st.store, "selection", "");
    return true;
}
