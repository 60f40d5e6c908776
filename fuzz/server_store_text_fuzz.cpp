// Fuzzes the store's writer of album texts: an ALBUM_WRITE's text stored
// under a number (the first byte chooses it), then read back as the store
// sends it.
//
// Checked: a text taken gives at most 99 tracks and a reply text that fits a
// message; storing that reply text again changes nothing (the store writes
// what it reads); a refused text leaves the album as it was.
#include "proto/album_text.hpp"
#include "proto/wire.hpp"
#include "server/log.hpp"
#include "server/store.hpp"

#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <sqlite3.h>
#include <string>
#include <string_view>

namespace {

std::unique_ptr<album_store> store;
std::string dir;

void set_up()
{
    log_quiet(true);
    const char *base = std::filesystem::is_directory("/dev/shm") ? "/dev/shm" : "/tmp";
    std::string templ = std::string(base) + "/zkfuzzXXXXXX";
    if (mkdtemp(templ.data()) == nullptr)
        std::abort();
    dir = templ;
    std::atexit([] {
        store.reset();
        std::error_code ec;
        std::filesystem::remove_all(dir, ec);
    });
    store = std::make_unique<album_store>();
    std::string error;
    if (!store_open(*store, dir + "/zerka.db", error))
        std::abort();
    // The syncing is not what is fuzzed here.
    sqlite3_exec(store->db.get(), "PRAGMA synchronous=OFF", nullptr, nullptr, nullptr);
}

constexpr int k_numbers[] = {1, 2, 3000, 9000, 9019, 0, 3001, 9020};

}   // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    if (store == nullptr)
        set_up();
    if (size < 1)
        return 0;
    const int n = k_numbers[data[0] % (sizeof k_numbers / sizeof k_numbers[0])];
    const std::string_view text(reinterpret_cast<const char *>(data + 1), std::min<std::size_t>(size - 1, k_text_max));
    const stored_album *before = store_get(*store, n);
    const std::string old_text = before != nullptr ? std::string(stored_text(*before)) : std::string();
    if (!store_write_text(*store, n, text)) {
        const stored_album *after = store_get(*store, n);
        if ((after != nullptr) != (before != nullptr) || (after != nullptr && stored_text(*after) != old_text))
            std::abort();
        return 0;
    }
    const stored_album *a = store_get(*store, n);
    if (a == nullptr || !album_number_ok(n) || store_track_count(*store, n) > 99 || store_track_count(*store, n) < 0 ||
        stored_text(*a).size() > k_text_max || a->entries.empty() || a->entries[0].title[0] == '\0')
        std::abort();
    const std::string stored(stored_text(*a));
    if (!store_write_text(*store, n, stored) || stored_text(*store_get(*store, n)) != stored)
        std::abort();
    return 0;
}
