// Track times recalculated from the media files.
#pragma once

// Menu handler: sets every track's time and the album's total from the sizes
// of the album's media files, album after album while the operator goes on.
// code -1 asks for each album number; 0 or more is the album to start with.
int track_timings(const void *arg, int code, const char *label);
