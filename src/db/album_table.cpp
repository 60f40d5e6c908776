#include "db/album.hpp"

#include "proto/text_util.hpp"

#include <algorithm>
#include <climits>
#include <cstdint>
#include <cstring>
#include <sys/mman.h>
#include <unistd.h>

album_rec album[k_album_slots];
int max_album;
int last_album;

void clear_album_table()
{
    // Whole pages are handed back to the kernel, which gives zero pages again on
    // the next touch: clearing never makes the untouched part of the table resident.
    auto *begin = reinterpret_cast<unsigned char *>(album);
    unsigned char *end = begin + sizeof album;
    const auto page = static_cast<std::uintptr_t>(sysconf(_SC_PAGESIZE));
    auto *first_page = reinterpret_cast<unsigned char *>((reinterpret_cast<std::uintptr_t>(begin) + page - 1) & ~(page - 1));
    auto *last_page = reinterpret_cast<unsigned char *>(reinterpret_cast<std::uintptr_t>(end) & ~(page - 1));
    // A load fills the table from its start, 20 KiB an album: in large pages
    // the kernel takes one fault where it would take some 500.
    static const bool large_pages [[maybe_unused]] =
        first_page < last_page && madvise(first_page, static_cast<std::size_t>(last_page - first_page), MADV_HUGEPAGE) == 0;
    if (first_page < last_page && madvise(first_page, static_cast<std::size_t>(last_page - first_page), MADV_DONTNEED) == 0) {
        std::memset(begin, 0, static_cast<std::size_t>(first_page - begin));
        std::memset(last_page, 0, static_cast<std::size_t>(end - last_page));
    } else {
        std::memset(begin, 0, sizeof album);
    }
}

void read_album_data(const server_msg *msg)
{
    const auto n = msg->album;
    if (n < 0 || n >= k_album_slots)
        return;   // a number outside the table names no slot
    const int number = static_cast<int>(n);
    if (number < k_last_regular + 1 && number > max_album)
        max_album = number;
    parse_album_text(msg->text, strnlen(msg->text, msg->length), album[number]);
}

int checked_album_number(const char *number_text, int reload, int (*load)(int number), int &typed)
{
    const long value = lenient_atol(number_text != nullptr ? number_text : "");
    typed = static_cast<int>(std::clamp<long>(value, INT_MIN, INT_MAX));
    if (typed == 0)
        return 0;
    // Only 9000 of the reserved numbers can be typed; the rest are loaded but never chosen.
    if (typed < 1 || typed > k_reserved_first)
        return -2;
    const int number = typed;
    if (album[number].present != 1 && (reload == 0 || load(number) != 1))
        return -2;
    if (number > max_album)
        max_album = number;
    return number;
}
