// The database load with its progress display.
#pragma once

// Loads the whole album table from the master server (albums 1..3000 up to the
// end answer, then the reserved ones), showing the start line and the number
// of each album as it arrives. Used at start-up and after a refresh.
void read_database();
