// Album import from freedb-style and plain text files.
#pragma once

// Menu handler: code 2 reads a freedb/XMCD file, code 3 a plain-text track
// list, into an existing album.
int import(const void *arg, int code, const char *label);

// Stores a plain-text line as the next track of album_no (asking the
// questions on a file's first line) and returns the number of the track that
// comes next, or -1 when the operator left a question. A null line starts
// afresh: the next line is a file's first again and names track 1; returns 0.
int parse_track(char *line, int album_no);
