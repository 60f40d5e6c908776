// The labels of the history menu.
#include "playlist/history_name.hpp"

#include <gtest/gtest.h>

#include <string>

namespace {

std::string label_of(const char *name)
{
    char out[k_history_label_len];
    history_label(name, out);
    return out;
}

struct label_case {
    const char *name;
    const char *label;
};

constexpr label_case well_formed[] = {
    {.name = "240315143000.hst", .label = "Fri Mar 15 14:30:00 2024"},
    {.name = "991231235959.hst", .label = "Fri Dec 31 23:59:59 1999"},
    {.name = "000101000000.hst", .label = "Sat Jan  1 00:00:00 2000"},
    {.name = "680704090807.hst", .label = "Wed Jul  4 09:08:07 2068"},
};

TEST(HistoryName, TheFilesTimeAsAsctimeWritesItWithoutTheNewline)
{
    for (const label_case &c : well_formed)
        EXPECT_EQ(label_of(c.name), c.label) << c.name;
}

TEST(HistoryName, ANameNotInTheFormStillGetsADefinedLabel)
{
    // Nothing parsed: the cleared time record.
    EXPECT_EQ(label_of("history.hst"), "Sun Jan  0 00:00:00 1900");
    EXPECT_EQ(label_of(""), "Sun Jan  0 00:00:00 1900");
    // The same name always gives the same label, whatever was parsed before it.
    EXPECT_EQ(label_of("240315143000.hst"), "Fri Mar 15 14:30:00 2024");
    EXPECT_EQ(label_of("history.hst"), "Sun Jan  0 00:00:00 1900");
}

TEST(HistoryName, APartlyParsedNameKeepsWhatWasRead)
{
    // Year and month read, then no day: the rest stays as cleared (the weekday is not worked out).
    EXPECT_EQ(label_of("2403xx.hst"), "Sun Mar  0 00:00:00 2024");
    // Cut short after the hour.
    EXPECT_EQ(label_of("24031514"), "Sun Mar 15 14:00:00 2024");
    // A month that does not exist stops the parse after the year.
    EXPECT_EQ(label_of("2413"), "Sun Jan  0 00:00:00 2024");
}

TEST(HistoryName, TheLabelAlwaysFitsItsBlock)
{
    const std::string long_name(300, '9');
    const std::string label = label_of(long_name.c_str());
    EXPECT_LT(label.size(), k_history_label_len);
}

}   // namespace
