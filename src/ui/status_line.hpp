// What the screen shows between keys: the play-time counter and the reminder
// to load a CD.
#pragma once

// Brings the play time up to date and draws it in reverse video at column 74
// of the last row; shows "Please load CD number %4.4d" on row 22, in bold,
// blinking once a second, while a retrieval waits. Called once per idle second.
void show_idle_status();
