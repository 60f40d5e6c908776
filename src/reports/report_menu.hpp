// The report generator, audits and the background WAV check.
#pragma once

int report_func(const void *arg, int code, const char *label);
int reset_stats(const void *arg, int code, const char *label);
int plist_audit(const void *arg, int code, const char *label);
int online_audit(const void *arg, int code, const char *label);
int mono_tracks(const void *arg, int code, const char *label);
int wav_integrity(const void *arg, int code, const char *label);
