// Writing the list being browsed to a report file.
#include "browse/output.hpp"

#include "browse/browse_layout.hpp"
#include "browse/chain.hpp"
#include "browse/output_format.hpp"
#include "proto/file_handle.hpp"
#include "ui/popup.hpp"
#include "ui/screen.hpp"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <string>

namespace {

constexpr int k_name_length = 50;

// A yes/no question at row 10, column 12.
bool asked_yes(const char *question)
{
    char reply[2] = "";
    return prompt(10, 12, question, reply, 1, 0) == 'y';
}

// The record that decides an element's state (the album table's, where there is one).
const track_rec &state_of(const chain_item *e)
{
    const track_rec *r = table_record(e->album_no, e->track_no);
    return r != nullptr ? *r : *e->track;
}

}   // namespace

void output(chain_item *first, int form, int album_flag)
{
    char name[k_name_length + 1] = "";
    if (prompt(8, 12, "Output Filename:", name, k_name_length, 4) == -3)
        return;
    char path[128];
    std::snprintf(path, sizeof path, "%s/%s", "Reports", name);
    const file_handle file(path, "w");
    if (file.f == nullptr) {
        char text[256];
        std::snprintf(text, sizeof text, "Problem opening file %s - %s", path, std::strerror(errno));
        errno = 0;   // the system's text is in the message already
        error_msg(text, 0);
        return;
    }
    switch (form) {
    case k_output_plain:
        for (const chain_item *e = first; e != nullptr; e = e->next)
            file.write(plain_line(*e->track));
        break;
    case k_output_inlay: {
        const bool timestamps = asked_yes("Do you want to include timestamps?");
        file.write(inlay_head(heading, timestamps));
        for (const chain_item *e = first; e != nullptr; e = e->next)
            file.write(inlay_line(e->album_no, e->track_no, *e->track, state_of(e), album_flag != 0, timestamps,
                                  album_track_count(e->album_no)));
        break;
    }
    case k_output_csv: {
        const bool index_numbers = asked_yes("Do you want to include index numbers?");
        for (const chain_item *e = first; e != nullptr; e = e->next)
            file.write(csv_line(e->album_no, e->track_no, *e->track, index_numbers));
        break;
    }
    default:
        break;
    }
}
