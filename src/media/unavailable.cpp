// CD and media screens that this version does not have yet: each says so.
#include "media/loaded_cd.hpp"
#include "media/new_album.hpp"
#include "ui/unavailable.hpp"

int exocd_svce(chain_item *, int key, int) { return key; }
int get_freedb_match(int, int) { return 0; }
int new_from_folder(const void *, int, const char *) { return not_available("Create New album from Folder contents"); }
int write_cd(const void *, int, const char *) { return not_available("Back Up Album To CD"); }
