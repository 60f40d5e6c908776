#include "core/reply_spin.hpp"

#include <algorithm>

std::int64_t spin_budget(reply_spin &s)
{
    if (s.skip > 0) {
        --s.skip;
        return 0;
    }
    // Four times the recent reply time leaves room for a late one without waiting long for none.
    return std::clamp<std::int64_t>(4 * s.recent_ns, k_spin_min_ns, k_spin_max_ns);
}

void spin_found(reply_spin &s, std::int64_t waited_ns)
{
    s.recent_ns = (3 * s.recent_ns + std::clamp<std::int64_t>(waited_ns, 0, k_spin_max_ns)) / 4;
    s.misses = 0;
}

void spin_missed(reply_spin &s)
{
    s.misses = std::min(s.misses + 1, 8);
    s.skip = std::min((1 << s.misses) - 1, k_spin_max_skip);
}
