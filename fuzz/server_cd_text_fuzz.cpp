// Fuzzes the texts the CD drive reads from outside: XMCD files, cue sheets,
// and the helper's table-of-contents lines (whose disc must then check and
// identify without trouble).
#include "server/cd_disc.hpp"
#include "server/freedb.hpp"

#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    const std::string_view text(reinterpret_cast<const char *>(data), size);
    const std::string problem = xmcd_problem(text, 0x0E02E203);
    if (problem.empty() && (text.substr(0, 6) != "# xmcd" || text.find('\0') != std::string_view::npos))
        std::abort();
    std::vector<std::string> names;
    std::string why;
    if (cue_file_names(text, names, why) && names.empty())
        std::abort();
    disc_toc toc;
    if (parse_toc_lines(text, toc)) {
        if (toc.tracks.size() > 100)
            std::abort();
        if (toc_problem(toc).empty()) {
            const std::uint32_t id = cddb_disc_id(toc);
            if ((id & 0xFF) != toc.tracks.size())
                std::abort();
            const std::string album = disc_album_text(toc, id);
            if (album.size() > 32768)
                std::abort();
        }
    }
    return 0;
}
