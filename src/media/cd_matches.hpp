// The loaded CD's freedb matches: stepping through them, the footer that
// says where the operator is, and the text of a retrieval request.
#pragma once

#include <cstddef>

// The match after (step 1) or before (step -1) `current` among `matches`,
// wrapping from the last to 1 and from 1 to the last; `current` itself when
// there are fewer than two matches.
int step_match(int current, int matches, int step);

// The loaded-CD screen's footer: after F9 or F10, or with fewer than one
// match, the keys of a CD in the database; else the match count and keys.
void loaded_cd_footer(char *out, std::size_t cap, bool after_f9_or_f10, int matches, int current);

// "All tracks on album %d are online", or "%d %s to be retrieved on album %04d".
void retrieval_text(char *out, std::size_t cap, int album_no, int count);
