// What the program knows of the CD loaded in a server's drive.
#include "media/loaded_cd.hpp"

int freedb_matches;
int current_match;
chain_list exo_head;
std::uint64_t cd_info[2];
