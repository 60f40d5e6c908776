// Track times recalculated from the media files.
#pragma once

int track_timings(const void *arg, int code, const char *label);
