// Album numbers typed by the operator.
#pragma once

// Checks an album number typed by the operator: the number, 0, or -2 after the
// pop-up "Invalid album No: %04d" (the rule is checked_album_number, db/album.hpp;
// an absent album is read from the master server first when reload is set).
int check_a_no(const char *number_text, int reload);
