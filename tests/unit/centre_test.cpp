#include "ui/centre.hpp"

#include <gtest/gtest.h>

#include <string>

namespace {

TEST(Centre, ShortTextsAreCentredForEightyColumns)
{
    const centred_text a = centre_for_80("ZERKALIBRARY");
    EXPECT_STREQ(a.text, "ZERKALIBRARY");
    EXPECT_EQ(a.column, 34);
    EXPECT_EQ(centre_for_80("Maintenance").column, 34);   // (80 - 11) / 2, rounded down
    EXPECT_EQ(centre_for_80("").column, 40);
}

TEST(Centre, TextsLongerThanSeventySixAreCut)
{
    const std::string long_text = std::string(76, 'a') + "bcd";
    const centred_text c = centre_for_80(long_text);
    EXPECT_EQ(std::string(c.text), std::string(76, 'a'));
    EXPECT_EQ(c.column, 2);
    const centred_text exact = centre_for_80(std::string(76, 'x'));
    EXPECT_EQ(std::string(exact.text), std::string(76, 'x'));
    EXPECT_EQ(exact.column, 2);
    EXPECT_EQ(centre_for_80(std::string(75, 'x')).column, 2);
}

}   // namespace
