// Album maintenance screens that this version does not have yet: each says so.
#include "album/album_screens.hpp"
#include "album/corrections.hpp"
#include "album/import.hpp"
#include "album/timings.hpp"
#include "ui/unavailable.hpp"

int display_album(const void *, int, const char *) { return not_available("Album Tracklist"); }
int details(int, int) { return not_available("Track details"); }
int edit_album(const void *, int, const char *) { return not_available("Edit Album"); }
int delete_album(const void *, int, const char *) { return not_available("Delete Album"); }
int correct(const void *, int, const char *label) { return not_available(label != nullptr ? label : "Correction"); }
int correct_caps(const void *, int, const char *label)
{
    return not_available(label != nullptr ? label : "Capitalization");
}
int capitals(const void *, int, const char *) { return not_available("Capitalize ALL Artists & Titles"); }
int track_timings(const void *, int, const char *) { return not_available("Recalculate Track Timings"); }
int import(const void *, int, const char *label) { return not_available(label != nullptr ? label : "Import"); }
