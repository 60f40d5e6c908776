// Album import from freedb-style and plain text files.
#pragma once

int import(const void *arg, int code, const char *label);
