#include "core/pgrep_pattern.hpp"

#include <gtest/gtest.h>

#include <regex.h>
#include <string>

namespace {

struct pattern_case {
    const char *desc;
    const char *pattern;
};

constexpr pattern_case cases[] = {
    {"Zerka", "^Zerka Streamer.*"},
    {"a.*", "^a\\.\\* Streamer.*"},
    {"[x]|y", "^\\[x\\]\\|y Streamer.*"},
    {"(a+)?", "^\\(a\\+\\)\\? Streamer.*"},
    {"^$\\{}", "^\\^\\$\\\\\\{\\} Streamer.*"},
};

TEST(PgrepPattern, RegularExpressionCharactersAreEscaped)
{
    for (const pattern_case &c : cases) {
        char out[96];
        ASSERT_TRUE(pgrep_pattern(out, sizeof out, c.desc, "Streamer")) << c.desc;
        EXPECT_STREQ(out, c.pattern) << c.desc;
    }
}

// Whether pgrep -x -f would take a command line for the pattern (it matches the whole line).
bool whole_match(const char *pattern, const std::string &command_line)
{
    regex_t re;
    const std::string whole = std::string("^(") + pattern + ")$";
    EXPECT_EQ(regcomp(&re, whole.c_str(), REG_EXTENDED | REG_NOSUB), 0) << pattern;
    const bool hit = regexec(&re, command_line.c_str(), 0, nullptr, 0) == 0;
    regfree(&re);
    return hit;
}

TEST(PgrepPattern, ANameMatchesItsOwnProcessesAndNoOtherProgram)
{
    for (const pattern_case &c : cases) {
        char out[96];
        ASSERT_TRUE(pgrep_pattern(out, sizeof out, c.desc, "Streamer"));
        EXPECT_TRUE(whole_match(out, std::string(c.desc) + " Streamer")) << c.desc;
        EXPECT_TRUE(whole_match(out, std::string(c.desc) + " Streamer 600")) << c.desc;
        EXPECT_FALSE(whole_match(out, "abc Streamer")) << c.desc;
        EXPECT_FALSE(whole_match(out, "a Streamer")) << c.desc;
        EXPECT_FALSE(whole_match(out, std::string("x") + c.desc + " Streamer")) << c.desc;
        EXPECT_FALSE(whole_match(out, std::string(c.desc) + " Locplay")) << c.desc;
    }
}

TEST(PgrepPattern, APatternThatDoesNotFitIsRefused)
{
    char out[12];
    EXPECT_FALSE(pgrep_pattern(out, sizeof out, "a.*b.", "Streamer"));
    EXPECT_STREQ(out, "");
    char fits[32];
    EXPECT_TRUE(pgrep_pattern(fits, sizeof fits, "Zerka", "Locplay"));
    EXPECT_STREQ(fits, "^Zerka Locplay.*");
}

}   // namespace
