// New albums from a folder of WAV files, and CD backups.
#pragma once

int new_from_folder(const void *arg, int code, const char *label);
int write_cd(const void *arg, int code, const char *label);
