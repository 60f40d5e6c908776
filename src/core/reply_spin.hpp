// How long a reply wait looks for the reply before it goes to sleep.
//
// A server on another CPU answers an album read in some microseconds, but a
// program asleep in select pays a scheduler wake-up (tens of microseconds) for
// every reply. So a reply wait first looks for the reply without waiting, for
// a short time that follows how fast recent replies came. A look that finds
// nothing costs that time for nothing: each one in a row doubles the number of
// reply waits that then go straight to sleep (a slow server, or one sharing
// this CPU, which cannot answer while the program looks), so the time spent
// looking in vain stays a small share of any run. Key waits never look.
#pragma once

#include <cstdint>

inline constexpr std::int64_t k_spin_min_ns = 10'000;   // the shortest look
inline constexpr std::int64_t k_spin_max_ns = 50'000;   // the longest look
inline constexpr int k_spin_max_skip = 255;             // reply waits without a look, at most, after misses

struct reply_spin {
    std::int64_t recent_ns = k_spin_max_ns / 4;   // how long recent replies took, when a look found them
    int misses = 0;                               // looks in a row that found nothing
    int skip = 0;                                 // reply waits left that go straight to sleep
};

// The time the next reply wait may look (0: none this time); counts a skipped wait.
std::int64_t spin_budget(reply_spin &s);

// A look found the reply (or anything else to read) after waited_ns.
void spin_found(reply_spin &s, std::int64_t waited_ns);

// A look found nothing in its time.
void spin_missed(reply_spin &s);
