#include "server/state.hpp"

#include <cerrno>
#include <charconv>
#include <cstring>
#include <ctime>
#include <fcntl.h>
#include <sys/file.h>

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

bool lock_root(const std::string &root, unique_fd &held, std::string &error)
{
    // The lock is on the folder itself: nothing to create, and it goes with the process.
    unique_fd fd(::open(root.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (fd.fd < 0) {
        error = std::strerror(errno);
        return false;
    }
    if (::flock(fd.fd, LOCK_EX | LOCK_NB) != 0) {
        error = errno == EWOULDBLOCK ? "another zerkaserver is using it" : std::strerror(errno);
        return false;
    }
    held = std::move(fd);
    return true;
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
