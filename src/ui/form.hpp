// Table-driven forms and the field editor.
#pragma once

#include <cstddef>
#include <functional>

struct form_field;

// Called after a row was edited; -3 ends the form.
using field_handler = int (*)(form_field *form, int row);

// One row of a form.
struct form_field {
    int type;          // the row's identity letter; a space on the end row
    int row;           // screen row of the label
    int column;        // screen column of the label
    char label[80];    // the value is drawn one column after its end
    int kind;          // 0 end of form, 1 shown only, 2 editable
    char value[80];    // kept padded with spaces to `length` while the form is open
    int length;        // width of the value
    int hidden;        // drawn as blanks, never edited
    int advance;       // typing into a full value moves on to the next row
    field_handler handler;
};

// Field editor results.
inline constexpr int k_field_esc = -3;
inline constexpr int k_field_next = -4;
inline constexpr int k_field_prev = -5;
inline constexpr int k_field_page_down = -6;
inline constexpr int k_field_page_up = -7;
inline constexpr int k_field_save = -11;

// Edits one field's value in place; returns one of the results above.
int input_field(form_field *field);

// Draws a form and walks the cursor through its editable rows.
int form_func(form_field *form);

// What a form walk needs from the screen: drawing every row, editing one.
struct form_callbacks {
    std::function<void(const form_field *form, int rows)> draw;
    std::function<int(form_field *field)> edit;
};

// The walk of form_func without the screen: pads the editable values, then
// edits row after row (hidden and shown-only rows are passed over; Up goes
// back over hidden rows) until ESC, a page key or Ctrl-S, or a handler's -3.
// An album in data_input hides rows 4 to 7 meanwhile.
int run_form(form_field *form, const form_callbacks &cb);

// Counts the rows of a form up to its end row.
int form_rows(const form_field *form);

// The text of one row as drawn at its place: label, a blank and the value, or
// as many blanks when the row is hidden.
void form_row_text(char *buf, std::size_t cap, const form_field &f);

// The row handler that does nothing (returns -1).
int null_func(form_field *form, int row);

extern form_field data_input[9];      // the album/track record editor
extern form_field notes_input[9];     // eight lines of album notes
extern form_field trackno_input[2];   // a single track number

// The rows of data_input.
inline constexpr int k_form_number = 0;        // "Album No:" / "Track No:"
inline constexpr int k_form_artist = 1;
inline constexpr int k_form_title = 2;
inline constexpr int k_form_time = 3;
inline constexpr int k_form_status = 4;
inline constexpr int k_form_last_played = 5;
inline constexpr int k_form_online = 6;
inline constexpr int k_form_plays = 7;

// Moves an album (track 0) or a track of the database into data_input, and back.
void copy_to_form(int album_no, int track_no);
void copy_from_form(int album_no, int track_no);

// Blanks the values of rows 1 to 5 of data_input.
void clear_form();

// The pure editing step of input_field on a work buffer (exposed for tests).
struct field_edit {
    char buf[81];   // the value, exactly `length` characters
    int length;     // width of the value (at most 80)
    int cursor;     // 0 .. length
    int advance;    // a full value passes the key on to the next row
};
inline constexpr int k_field_push_back = 1;   // the key belongs to the next row
// Applies one key; returns 0 to go on, a field result to finish, or
// k_field_push_back when the key must be typed again on the next row (a full
// field with advance set). bell: the key did not fit.
int field_edit_key(field_edit &e, int key, bool &bell);
