#include "media/fuzzy_match.hpp"

#include <cctype>
#include <cstring>
#include <memory>

float fuzzy_match(const char *a, const char *b)
{
    const std::size_t m = std::strlen(a);
    const std::size_t n = std::strlen(b);
    if (m == 0 || n == 0)
        return 0.0f;
    // One row of the edit-distance table: row[i] is the distance between the
    // first i characters of a and the part of b seen so far.
    const std::unique_ptr<std::size_t[]> row(new std::size_t[m + 1]);
    for (std::size_t i = 0; i <= m; ++i)
        row[i] = i;
    for (std::size_t j = 1; j <= n; ++j) {
        const int cb = std::tolower(static_cast<unsigned char>(b[j - 1]));
        std::size_t diagonal = row[0];
        row[0] = j;
        for (std::size_t i = 1; i <= m; ++i) {
            const std::size_t above = row[i];
            const int ca = std::tolower(static_cast<unsigned char>(a[i - 1]));
            std::size_t best = diagonal + (ca == cb ? 0 : 1);
            if (above + 1 < best)
                best = above + 1;
            if (row[i - 1] + 1 < best)
                best = row[i - 1] + 1;
            row[i] = best;
            diagonal = above;
        }
    }
    const std::size_t d = row[m];
    const long long product = static_cast<long long>(m + n - d) * 100;
    return static_cast<float>(product) / static_cast<float>(m + n);
}
