// Similarity of two texts.
#pragma once

// 0..100: (m + n - d) * 100 / (m + n) with d the case-blind edit distance; 0.0 when either is empty.
float fuzzy_match(const char *a, const char *b);
