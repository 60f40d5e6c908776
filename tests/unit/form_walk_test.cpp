#include "ui/form.hpp"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>
#include <string>
#include <utility>
#include <vector>

namespace {

// Runs a form with an editor that answers from a script and notes the rows it was given.
struct scripted {
    std::vector<int> results;
    std::vector<int> edited;               // row index of each edit
    std::vector<std::string> hidden_seen;  // data_input rows 4..7 hidden flags at each edit, as "1111"
    std::size_t next = 0;
    int draws = 0;

    explicit scripted(std::vector<int> r = {}) : results(std::move(r)) {}

    int run(form_field *form)
    {
        const form_callbacks cb = {
            .draw = [this](const form_field *, int) { ++draws; },
            .edit =
                [this, form](form_field *f) {
                    edited.push_back(static_cast<int>(f - form));
                    std::string h;
                    for (int i = 4; i <= 7; ++i)
                        h += data_input[i].hidden ? '1' : '0';
                    hidden_seen.push_back(h);
                    return next < results.size() ? results[next++] : k_field_esc;
                },
        };
        return run_form(form, cb);
    }
};

void label_row0(const char *text) { std::snprintf(data_input[0].label, sizeof data_input[0].label, "%s", text); }

int handler_calls;
int handler_rows[16];
int counting_handler(form_field *, int row)
{
    if (handler_calls < 16)
        handler_rows[handler_calls] = row;
    ++handler_calls;
    return -1;
}
int ending_handler(form_field *, int) { return k_field_esc; }

TEST(FormWalk, AnAlbumSkipsTheTrackOnlyRows)
{
    label_row0("Album No:");
    scripted s(std::vector<int>{k_field_next, k_field_next, k_field_next, k_field_next, k_field_esc});
    EXPECT_EQ(s.run(data_input), k_field_esc);
    EXPECT_EQ(s.edited, (std::vector<int>{0, 1, 2, 3, 0}));
    for (const std::string &h : s.hidden_seen)
        EXPECT_EQ(h, "1111");
    for (int i = 4; i <= 7; ++i)
        EXPECT_EQ(data_input[i].hidden, 0) << i;   // shown again once the form ends
}

TEST(FormWalk, UpOnAlbumNoGoesToTheTimeRow)
{
    label_row0("Album No:");
    scripted s(std::vector<int>{k_field_prev, k_field_prev, k_field_esc});
    s.run(data_input);
    EXPECT_EQ(s.edited, (std::vector<int>{0, 3, 2}));
}

TEST(FormWalk, ATrackShowsItsRowsButDoesNotEditThem)
{
    label_row0("Track No:");
    scripted s(std::vector<int>{k_field_next, k_field_next, k_field_next, k_field_next, k_field_esc});
    s.run(data_input);
    EXPECT_EQ(s.edited, (std::vector<int>{0, 1, 2, 3, 0}));
    for (const std::string &h : s.hidden_seen)
        EXPECT_EQ(h, "0000");
    label_row0("Album No:");
}

TEST(FormWalk, UpOnTheFirstRowOfATrackStaysThere)
{
    label_row0("Track No:");
    scripted s(std::vector<int>{k_field_next, k_field_prev, k_field_prev, k_field_esc});
    s.run(data_input);
    // Up from Artist goes to row 0; Up from row 0 lands on a shown-only row,
    // which is passed forward again to row 0.
    EXPECT_EQ(s.edited, (std::vector<int>{0, 1, 0, 0}));
    label_row0("Album No:");
}

TEST(FormWalk, PageKeysAndCtrlSEndTheFormAfterTheHandler)
{
    for (int end : {k_field_page_down, k_field_page_up, k_field_save, k_field_esc}) {
        form_field form[3] = {
            {.type = 'X', .row = 1, .column = 1, .label = "X:", .kind = 2, .value = "", .length = 5, .hidden = 0, .advance = 0, .handler = counting_handler},
            {.type = 'Y', .row = 2, .column = 1, .label = "Y:", .kind = 2, .value = "", .length = 5, .hidden = 0, .advance = 0, .handler = counting_handler},
            {.type = ' ', .row = 0, .column = 0, .label = "", .kind = 0, .value = "", .length = 0, .hidden = 1, .advance = 0, .handler = nullptr},
        };
        handler_calls = 0;
        scripted s(std::vector<int>{k_field_next, end});
        EXPECT_EQ(s.run(form), end);
        EXPECT_EQ(s.edited, (std::vector<int>{0, 1}));
        EXPECT_EQ(handler_calls, 2);
        EXPECT_EQ(handler_rows[1], 1);
    }
}

TEST(FormWalk, UpDoesNotCallTheHandler)
{
    form_field form[3] = {
        {.type = 'X', .row = 1, .column = 1, .label = "X:", .kind = 2, .value = "", .length = 5, .hidden = 0, .advance = 0, .handler = counting_handler},
        {.type = 'Y', .row = 2, .column = 1, .label = "Y:", .kind = 2, .value = "", .length = 5, .hidden = 0, .advance = 0, .handler = counting_handler},
        {.type = ' ', .row = 0, .column = 0, .label = "", .kind = 0, .value = "", .length = 0, .hidden = 1, .advance = 0, .handler = nullptr},
    };
    handler_calls = 0;
    scripted s(std::vector<int>{k_field_prev, k_field_esc});
    s.run(form);
    EXPECT_EQ(s.edited, (std::vector<int>{0, 1}));
    EXPECT_EQ(handler_calls, 1);   // only for the ESC on row 1
}

TEST(FormWalk, AHandlerCanEndTheForm)
{
    form_field form[3] = {
        {.type = 'X', .row = 1, .column = 1, .label = "X:", .kind = 2, .value = "", .length = 5, .hidden = 0, .advance = 0, .handler = ending_handler},
        {.type = 'Y', .row = 2, .column = 1, .label = "Y:", .kind = 2, .value = "", .length = 5, .hidden = 0, .advance = 0, .handler = nullptr},
        {.type = ' ', .row = 0, .column = 0, .label = "", .kind = 0, .value = "", .length = 0, .hidden = 1, .advance = 0, .handler = nullptr},
    };
    scripted s(std::vector<int>{k_field_next, k_field_next});
    EXPECT_EQ(s.run(form), k_field_esc);
    EXPECT_EQ(s.edited, (std::vector<int>{0}));
}

TEST(FormWalk, NotesWrapFromTheLastLineToTheFirst)
{
    std::vector<int> results(9, k_field_next);
    results.push_back(k_field_esc);
    scripted s(results);
    s.run(notes_input);
    EXPECT_EQ(s.edited, (std::vector<int>{0, 1, 2, 3, 4, 5, 6, 7, 0, 1}));
}

TEST(FormWalk, EditableValuesArePaddedAndEditsAreKeptOnEscape)
{
    form_field form[3] = {
        {.type = 'X', .row = 1, .column = 1, .label = "X:", .kind = 2, .value = "ab", .length = 5, .hidden = 0, .advance = 0, .handler = nullptr},
        {.type = 'S', .row = 2, .column = 1, .label = "S:", .kind = 1, .value = "cd", .length = 5, .hidden = 0, .advance = 0, .handler = nullptr},
        {.type = ' ', .row = 0, .column = 0, .label = "", .kind = 0, .value = "", .length = 0, .hidden = 1, .advance = 0, .handler = nullptr},
    };
    const form_callbacks cb = {
        .draw = [](const form_field *, int) {},
        .edit =
            [](form_field *f) {
                EXPECT_STREQ(f->value, "ab   ");
                std::memcpy(f->value, "xyz  ", 6);
                return k_field_esc;
            },
    };
    EXPECT_EQ(run_form(form, cb), k_field_esc);
    EXPECT_STREQ(form[0].value, "xyz  ");
    EXPECT_STREQ(form[1].value, "cd");   // a shown-only value is left as it is
}

TEST(FormWalk, AFormWithNothingToEditEnds)
{
    form_field form[2] = {
        {.type = 'S', .row = 2, .column = 1, .label = "S:", .kind = 1, .value = "cd", .length = 5, .hidden = 0, .advance = 0, .handler = nullptr},
        {.type = ' ', .row = 0, .column = 0, .label = "", .kind = 0, .value = "", .length = 0, .hidden = 1, .advance = 0, .handler = nullptr},
    };
    scripted s;
    EXPECT_EQ(s.run(form), k_field_esc);
    EXPECT_TRUE(s.edited.empty());
}

TEST(FormRowText, AVisibleRowIsLabelBlankValue)
{
    form_field f = {.type = 'A', .row = 5, .column = 2, .label = "Artist:", .kind = 2, .value = "Abba  ", .length = 6, .hidden = 0, .advance = 0, .handler = nullptr};
    char buf[200];
    form_row_text(buf, sizeof buf, f);
    EXPECT_STREQ(buf, "Artist: Abba  ");
    f.hidden = 1;
    form_row_text(buf, sizeof buf, f);
    EXPECT_STREQ(buf, "              ");   // as long as label, blank and value together
}

TEST(FormRowText, AnAlbumDrawsItsTrackRowsAsBlanks)
{
    label_row0("Album No:");
    std::snprintf(data_input[4].value, sizeof data_input[4].value, "S");
    std::snprintf(data_input[5].value, sizeof data_input[5].value, "15/03/21 @ 10:00  ");
    std::vector<std::string> drawn;
    const form_callbacks cb = {
        .draw =
            [&drawn](const form_field *form, int) {
                for (int i = 4; i <= 7; ++i) {
                    char buf[200];
                    form_row_text(buf, sizeof buf, form[i]);
                    drawn.push_back(buf);
                }
            },
        .edit = [](form_field *) { return k_field_esc; },
    };
    run_form(data_input, cb);
    ASSERT_EQ(drawn.size(), 4u);
    EXPECT_EQ(drawn[0], std::string(std::strlen("Status:") + 1 + 1, ' '));
    EXPECT_EQ(drawn[1], std::string(std::strlen("Last Played:") + 1 + 18, ' '));
    // A track shows the same rows.
    label_row0("Track No:");
    drawn.clear();
    run_form(data_input, cb);
    ASSERT_EQ(drawn.size(), 4u);
    EXPECT_EQ(drawn[0], "Status: S");
    EXPECT_EQ(drawn[1], "Last Played: 15/03/21 @ 10:00  ");
    label_row0("Album No:");
}

}   // namespace
