// Duplicate detection, export and ripping of unique tracks.
#pragma once

int check_duplicate(const void *arg, int code, const char *label);
int duplicate_report(const void *arg, int code, const char *label);
