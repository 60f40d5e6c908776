// Text corrections and capitalisation of artists and titles.
#pragma once

// Menu handler: code 0 puts the artists of a "Various Artists" album's
// "title - artist" track titles into their place; code 1 exchanges every
// track's artist and title.
int correct(const void *arg, int code, const char *label);

// Menu handler: capitalises the album's and its tracks' artists and titles;
// code 1 lowers them first.
int correct_caps(const void *arg, int code, const char *label);

// Menu handler: capitalises the artists and titles of every album.
int capitals(const void *arg, int code, const char *label);
