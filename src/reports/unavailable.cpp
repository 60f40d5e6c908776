// Reports and audits that this version does not have yet: each says so.
#include "reports/report_menu.hpp"
#include "ui/unavailable.hpp"

int report_func(const void *, int, const char *label) { return not_available(label != nullptr ? label : "Report"); }
int reset_stats(const void *, int, const char *) { return not_available("Reset Statistics"); }
int plist_audit(const void *, int, const char *) { return not_available("Audit Playlists"); }
int online_audit(const void *, int, const char *) { return not_available("On-line Tracks Audit"); }
int mono_tracks(const void *, int, const char *) { return not_available("Find Monaural Tracks"); }
int wav_integrity(const void *, int, const char *) { return not_available("WAV file integrity check"); }
