// Track chains.
#pragma once

// Shows the chain a track belongs to.
void view_chain(int album_no, int track_no);

// The chain editor for a track.
void add_to_chain(int album_no, int track_no);
