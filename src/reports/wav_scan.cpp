#include "reports/wav_scan.hpp"

#include "db/album.hpp"
#include "reports/report_list.hpp"
#include "reports/wav_file.hpp"

#include <cstdio>

void format_check_started(char *buf, std::size_t cap, int album_no, bool glitches)
{
    if (glitches)
        std::snprintf(buf, cap, "WAVcheck Started at album %04d, looking for glitches", album_no);
    else
        std::snprintf(buf, cap, "WAVcheck Started at album %04d", album_no);
}

void format_album_result(char *buf, std::size_t cap, int album_no, int errors)
{
    if (errors == 0)
        std::snprintf(buf, cap, "Album %04d: OK", album_no);
    else
        std::snprintf(buf, cap, "Album %04d: %d errors", album_no, errors);
}

void format_check_finished(char *buf, std::size_t cap, int files, int errors)
{
    if (errors == 0)
        std::snprintf(buf, cap, "WAVcheck Finished: %d files processed, No errors found\n", files);
    else
        std::snprintf(buf, cap, "WAVcheck Finished: %d files processed, %d errors found\n", files, errors);
}

wav_check_totals wav_check_walk(bool glitches, int first, int last, const line_sink &log)
{
    if (first < 1)
        first = 1;
    char line[256];
    format_check_started(line, sizeof line, first, glitches);
    log.line(log.context, line);
    wav_check_totals totals;
    for (int a = first; a <= last && a < k_album_slots; ++a) {
        int album_errors = 0;
        for (int t = 1; t <= report_track_count(a); ++t) {
            if (album[a].entry[t].online == 0)
                continue;
            char path[k_media_path];
            media_path(path, sizeof path, a, t);
            const wav_outcome outcome = check_wav_file(path, true, glitches, a, t);
            ++totals.files;
            if (outcome.verdict == wav_verdict::good)
                continue;
            // A file that cannot be opened is no fault of the album's own files.
            if (outcome.verdict != wav_verdict::cannot_open)
                ++album_errors;
            char result[160];
            format_wav_outcome(result, sizeof result, outcome, "OK");
            std::snprintf(line, sizeof line, "%s: %s", path, result);
            log.line(log.context, line);
            ++totals.errors;
        }
        format_album_result(line, sizeof line, a, album_errors);
        log.line(log.context, line);
    }
    format_check_finished(line, sizeof line, totals.files, totals.errors);
    log.line(log.context, line);
    return totals;
}
