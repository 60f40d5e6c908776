// The demo library's music: a small piece for every track, composed from the
// track's number. A piece has a key, a tempo, chord progressions for its
// verses and bridges, a melody of its own and a band (lead, accompaniment,
// bass, sometimes soft drums) chosen by the album's style, so that no two
// tracks sound alike. Pure: no files, no sockets.
#pragma once

#include <cstdint>
#include <string>

// The styles of the demo's albums (which instruments play).
enum class music_style : std::uint8_t {
    folk,       // plucked strings, arpeggios
    lounge,     // electric piano, pad, brushed drums
    choir,      // soft pads and a flute-like lead
    mallets,    // marimba over a pad
    pop,        // bell lead, arpeggios, pad and drums
};
inline constexpr int k_music_styles = 5;

// What a piece is made of.
struct piece_plan {
    int key = 0;                   // the tonic, in semitones above A2 (110 Hz), 0..11
    bool minor = false;            // a minor key (else major)
    int bpm = 100;                 // beats per minute
    int verse = 0;                 // the chord progression of the verses (an index)
    int bridge = 0;                // the chord progression of the bridges (an index)
    music_style style = music_style::folk;
    bool drums = false;            // soft drums play
    std::uint32_t melody_seed = 0; // chooses the melodies
};

// The plan of a track's piece: `album_key` is the album's tonic (semitones
// above A2); each track moves it and takes its own tempo, progressions and melody.
piece_plan plan_piece(int album, int track, int album_key, music_style style, bool minor);

// The piece as 16-bit little-endian stereo samples at 44.1 kHz, exactly
// `seconds` seconds long (at least one): it starts and ends softly, and its
// loudest sample is at about 80 % of full scale.
std::string render_piece(const piece_plan &plan, int seconds);

// The same into `out`, whose room is used again (one buffer a thread, for a whole library).
void render_piece(const piece_plan &plan, int seconds, std::string &out);
