// Placeholders for the local audio processes while they are being built; each
// is replaced by its real implementation and removed from here.
#include "audio/player.hpp"
#include "audio/stream.hpp"

#include <cstdlib>

int audio_sock = -1;
pid_t local_audio_pid;
char cur_track_data[80];
volatile std::sig_atomic_t abort_sig;

int audio_func(const void *, int, const char *) { return 0; }
void audio_stream() { std::exit(1); }
int local_player(int, int) { return -1; }
void loc_play_int(int, siginfo_t *, void *) {}
void loc_play_display(int, siginfo_t *, void *) {}
void loc_play_redraw() {}
bool forward_to_player(int) { return false; }
void abort_func(int) { abort_sig = 1; }
