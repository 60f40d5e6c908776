// The three forms of the program.
//
// To add a form: write a form_field array ended by a row whose kind is 0,
// declare it in ui/form.hpp, and open it with form_func. A row's handler runs
// after the row was edited; null_func does nothing.
#include "ui/form.hpp"

int null_func(form_field *, int) { return -1; }

// The album/track record editor. "Title: " and "Time:  " keep their trailing
// blanks so that the values line up; row 0 is relabelled "Track No:" for a track.
form_field data_input[9] = {
    {.type = 'R', .row = 3, .column = 2, .label = "Album No:", .kind = 2, .value = "", .length = 4, .hidden = 0, .advance = 0, .handler = null_func},
    {.type = 'A', .row = 5, .column = 2, .label = "Artist:", .kind = 2, .value = "", .length = 68, .hidden = 0, .advance = 0, .handler = null_func},
    {.type = 'N', .row = 7, .column = 2, .label = "Title: ", .kind = 2, .value = "", .length = 68, .hidden = 0, .advance = 0, .handler = null_func},
    {.type = 'T', .row = 9, .column = 2, .label = "Time:  ", .kind = 2, .value = "00.00", .length = 32, .hidden = 0, .advance = 0, .handler = null_func},
    {.type = 'D', .row = 11, .column = 2, .label = "Status:", .kind = 1, .value = "", .length = 14, .hidden = 0, .advance = 0, .handler = null_func},
    {.type = 'L', .row = 13, .column = 2, .label = "Last Played:", .kind = 1, .value = "", .length = 18, .hidden = 0, .advance = 0, .handler = null_func},
    {.type = 'O', .row = 15, .column = 2, .label = "Online?", .kind = 1, .value = "", .length = 1, .hidden = 0, .advance = 0, .handler = null_func},
    {.type = 'P', .row = 17, .column = 2, .label = "No. of Plays:", .kind = 1, .value = "", .length = 18, .hidden = 0, .advance = 0, .handler = null_func},
    {.type = ' ', .row = 0, .column = 0, .label = "", .kind = 0, .value = "", .length = 0, .hidden = 1, .advance = 0, .handler = null_func},
};

// Eight lines of album notes; typing past the end of a line goes on on the next.
form_field notes_input[9] = {
    {.type = '1', .row = 6, .column = 2, .label = "Notes:", .kind = 2, .value = "", .length = 68, .hidden = 0, .advance = 1, .handler = null_func},
    {.type = '2', .row = 7, .column = 2, .label = "      ", .kind = 2, .value = "", .length = 68, .hidden = 0, .advance = 1, .handler = null_func},
    {.type = '3', .row = 8, .column = 2, .label = "      ", .kind = 2, .value = "", .length = 68, .hidden = 0, .advance = 1, .handler = null_func},
    {.type = '4', .row = 9, .column = 2, .label = "      ", .kind = 2, .value = "", .length = 68, .hidden = 0, .advance = 1, .handler = null_func},
    {.type = '5', .row = 10, .column = 2, .label = "      ", .kind = 2, .value = "", .length = 68, .hidden = 0, .advance = 1, .handler = null_func},
    {.type = '6', .row = 11, .column = 2, .label = "      ", .kind = 2, .value = "", .length = 68, .hidden = 0, .advance = 1, .handler = null_func},
    {.type = '7', .row = 12, .column = 2, .label = "      ", .kind = 2, .value = "", .length = 68, .hidden = 0, .advance = 1, .handler = null_func},
    {.type = '8', .row = 13, .column = 2, .label = "      ", .kind = 2, .value = "", .length = 68, .hidden = 0, .advance = 1, .handler = null_func},
    {.type = ' ', .row = 0, .column = 0, .label = "", .kind = 0, .value = "", .length = 0, .hidden = 1, .advance = 0, .handler = null_func},
};

// A single number ("Album No" without a colon); its row has no handler.
form_field trackno_input[2] = {
    {.type = 'R', .row = 3, .column = 2, .label = "Album No", .kind = 2, .value = "", .length = 4, .hidden = 0, .advance = 0, .handler = nullptr},
    {.type = ' ', .row = 0, .column = 0, .label = "", .kind = 0, .value = "", .length = 0, .hidden = 1, .advance = 0, .handler = null_func},
};
