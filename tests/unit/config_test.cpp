#include "core/config.hpp"
#include "proto/text_util.hpp"

#include <gtest/gtest.h>

#include <climits>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

namespace {

// Looks a key up in a configuration given as text; returns "<none>" when no line matches.
std::string lookup(const std::string &cfg, const char *key)
{
    std::FILE *f = fmemopen(const_cast<char *>(cfg.data()), cfg.size(), "r");
    char line[k_cfg_line];
    const char *v = cfg_lookup(f, key, line);
    std::string out = v != nullptr ? v : "<none>";
    std::fclose(f);
    return out;
}

struct case_t {
    const char *cfg;
    const char *key;
    const char *value;
};

constexpr case_t cases[] = {
    {"SERVER_MODE local\n", "SERVER_MODE", "local"},
    {"server_mode LOCAL\n", "SERVER_MODE", "LOCAL"},
    {"SERVER_MODE local \n", "SERVER_MODE", "local "},           // trailing blanks kept without a comment
    {"SERVER_MODE local   # the mode\n", "SERVER_MODE", "local"},  // and trimmed before a comment
    {"SERVER_MODE local\t# tab\n", "SERVER_MODE", "local"},
    {"PASSWORD=#secret more\n", "PASSWORD", "#secret more"},       // a leading "#" is part of the value
    {"PASSWORD=#secret # note\n", "PASSWORD", "#secret"},
    {"PASSWORD = x\n", "PASSWORD", "x"},
    {"PASSWORD==  ==x\n", "PASSWORD", "x"},
    {"PASSWORD\t\tx\n", "PASSWORD", "x"},
    {"PASSWORDS abc\n", "PASSWORD", "S abc"},                     // a prefix test: PASSWORDS matches PASSWORD
    {"   \t MASTER_PORT 4000\n", "MASTER_PORT", "4000"},
    {"# PASSWORD hidden\nPASSWORD shown\n", "PASSWORD", "shown"}, // a comment line is skipped even with a key
    {"  # PASSWORD hidden\n", "PASSWORD", "<none>"},
    {"\n\n\nPASSWORD a\nPASSWORD b\n", "PASSWORD", "a"},          // the first match wins
    {"PASSWORD\n", "PASSWORD", ""},
    {"PASSWORD last", "PASSWORD", "last"},                        // a last line without its newline
    {"PASS x\n", "PASSWORD", "<none>"},
    {"", "PASSWORD", "<none>"},
    {"LOOPBACK a#b\n", "LOOPBACK", "a"},                          // "#" from the second character starts a comment
};

TEST(Config, LookupRules)
{
    for (const case_t &c : cases)
        EXPECT_EQ(lookup(c.cfg, c.key), c.value) << "config: " << c.cfg;
}

TEST(Config, OverlongLineIsCutAndItsRestNeverReadAsALine)
{
    // The tail of a 3000-byte line begins like a key; it must not match.
    std::string cfg = "X" + std::string(1500, 'a') + "PASSWORD tail" + std::string(1500, 'b') + "\nPASSWORD real\n";
    EXPECT_EQ(lookup(cfg, "PASSWORD"), "real");
    std::string long_value = "WAV_PATH " + std::string(2000, 'v') + "\n";
    EXPECT_EQ(lookup(long_value, "WAV_PATH").size(), k_cfg_line - 1 - 9);
}

class ConfigFile : public ::testing::Test {
protected:
    void SetUp() override
    {
        dir = std::filesystem::temp_directory_path() / ("zcfg" + std::to_string(::getpid()));
        std::filesystem::create_directories(dir);
        copy_bounded(zerka_root, dir.string());
    }
    void TearDown() override { std::filesystem::remove_all(dir); }
    void write(const std::string &text) { std::ofstream(dir / "zerka.cfg") << text; }
    std::filesystem::path dir;
};

const char *base_cfg = "SERVER_MODE master\nMASTER_SERVER localhost\nMASTER_PORT 7000\nMASTER_ROOT /srv\n"
                       "LOOPBACK 127.0.0.1\nEXPORT_FOLDER /tmp/x\nWAV_PATH /wav\nWAV_FOLDER In\n";

TEST_F(ConfigFile, MissingOptionalKeyIsEmpty)
{
    write(base_cfg);
    EXPECT_STREQ(get_cfg_item("PARANOIA", 0), "");
}

TEST_F(ConfigFile, MissingMandatoryKeyEndsTheProgramNamingTheKeyAsSpelled)
{
    write(base_cfg);
    EXPECT_EXIT(get_cfg_item("Cd_Drive", 1), ::testing::ExitedWithCode(1), "^Configuration error: \"Cd_Drive\"\n$");
}

TEST_F(ConfigFile, UnreadableFileEndsTheProgram)
{
    EXPECT_EXIT(get_cfg_item("SERVER_MODE", 1), ::testing::ExitedWithCode(1),
                "^Cannot open configuration file - No such file or directory\n$");
}

TEST_F(ConfigFile, ReadsEverySettingWithDefaults)
{
    write(std::string(base_cfg) + "SERVER_NAME Jukebox1\nMAX_CDR_LENGTH 0\nCD_DRIVE /dev/sr0\nPASSWORD pw # x\n");
    read_configuration();
    EXPECT_STREQ(server_name, "Jukebox1");
    EXPECT_STREQ(prog_desc, "Jukeb");
    EXPECT_EQ(master_port, 7000);
    EXPECT_EQ(max_cdr_length, 4800);
    EXPECT_EQ(cd_present, 1);
    EXPECT_STREQ(secure, "pw");
    EXPECT_STREQ(dirname, "In");
}

TEST_F(ConfigFile, AbsentNameGivesTheDefaultPrefixAndLenientPort)
{
    write(std::string(base_cfg) + "MAX_CDR_LENGTH 700\nCD_DRIVE cdrom\n");
    std::string cfg = base_cfg;
    cfg.replace(cfg.find("7000"), 4, "7x9");
    write(cfg + "MAX_CDR_LENGTH 700\nCD_DRIVE cdrom\n");
    read_configuration();
    EXPECT_STREQ(prog_desc, "Zerka");
    EXPECT_EQ(master_port, 7);
    EXPECT_EQ(max_cdr_length, 700);
    EXPECT_EQ(cd_present, 0);
}

TEST_F(ConfigFile, ValueLongerThanItsBufferIsRefusedNotOverflowed)
{
    write(std::string(base_cfg) + "SERVER_NAME " + std::string(40, 'n') + "\n");
    EXPECT_EXIT(read_configuration(), ::testing::ExitedWithCode(1), "^Configuration error: \"SERVER_NAME\"\n$");
}

TEST(TextUtil, LenientConversion)
{
    EXPECT_EQ(lenient_atol("4000"), 4000);
    EXPECT_EQ(lenient_atol("  -12x"), -12);
    EXPECT_EQ(lenient_atol("abc"), 0);
    EXPECT_EQ(lenient_atol(""), 0);
    EXPECT_EQ(lenient_atol("99999999999999999999999"), LONG_MAX);
}

TEST(TextUtil, BoundedCopyNeverOverflows)
{
    char small[4];
    EXPECT_FALSE(copy_bounded(small, "abcdef"));
    EXPECT_STREQ(small, "abc");
    EXPECT_TRUE(copy_bounded(small, "ab"));
    EXPECT_STREQ(small, "ab");
    EXPECT_TRUE(append_bounded(small, "c"));
    EXPECT_FALSE(append_bounded(small, "d"));
    EXPECT_STREQ(small, "abc");
}

TEST(TextUtil, TheWithItsBlank)
{
    EXPECT_TRUE(starts_with_the("The Band"));
    EXPECT_TRUE(starts_with_the("tHE band"));
    EXPECT_FALSE(starts_with_the("Theatre"));
    EXPECT_FALSE(starts_with_the("The"));
}

}   // namespace
