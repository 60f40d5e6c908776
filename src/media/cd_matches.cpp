// The loaded CD's freedb matches.
#include "media/cd_matches.hpp"

#include <cstdio>

int step_match(int current, int matches, int step)
{
    if (matches < 2)
        return current;
    const int next = current + step;
    if (next < 1)
        return matches;
    if (next > matches)
        return 1;
    return next;
}

void loaded_cd_footer(char *out, std::size_t cap, bool after_f9_or_f10, int matches, int current)
{
    if (after_f9_or_f10 || matches < 1)
        std::snprintf(out, cap, "%s", "^F^1^0-bring online ^overwrite track ^^W/^^I check album/track");
    else if (matches == 1)
        std::snprintf(out, cap, "%s", "1 Match ^Duplicates ^F^9-Database");
    else
        std::snprintf(out, cap, "Match %d of %d ^-^>next ^<^-prev ^duplicates ^F^9-Database", current, matches);
}

void retrieval_text(char *out, std::size_t cap, int album_no, int count)
{
    if (count == 0)
        std::snprintf(out, cap, "All tracks on album %d are online", album_no);
    else
        std::snprintf(out, cap, "%d %s to be retrieved on album %04d", count, count == 1 ? "track is" : "tracks are",
                      album_no);
}
