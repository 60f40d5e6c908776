// The local freedb folder: which XMCD files are offered and how the matches are written.
#include "server/freedb.hpp"

#include "test_root.hpp"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

namespace {

constexpr std::uint32_t k_id = 0x0e02e203;

std::string good_xmcd(std::uint32_t id = k_id)
{
    char discid[16];
    std::snprintf(discid, sizeof discid, "%8.8x", id);
    return std::string("# xmcd\n#\n# Track frame offsets:\n#\t150\nDISCID=") + discid +
           "\nDTITLE=Ada Quill / Paper Lanterns\nTTITLE0=One\nTTITLE1=Two\nTTITLE2=Three\n";
}

TEST(Xmcd, Problems)
{
    EXPECT_EQ(xmcd_problem(good_xmcd(), k_id), "");
    EXPECT_EQ(xmcd_problem("# xmcd\r\nDTITLE=A / B\r\n", k_id), "");                     // no DISCID: taken
    EXPECT_EQ(xmcd_problem("# xmcd\nDISCID=12345678,0E02E203\nDTITLE=A / B\n", k_id), "");   // any of several
    EXPECT_EQ(xmcd_problem("# xmcd\nDISCID=12345678\nDTITLE=A / B\n", k_id), "its DISCID lines do not list 0e02e203");
    EXPECT_EQ(xmcd_problem("DTITLE=A / B\n", k_id), "not an XMCD file (it does not begin with \"# xmcd\")");
    EXPECT_EQ(xmcd_problem("# xmcd\nTTITLE0=x\n", k_id), "no DTITLE line");
    EXPECT_EQ(xmcd_problem(std::string("# xmcd\nDTITLE=A\0B\n", 19), k_id), "binary (it holds NUL bytes)");
    EXPECT_EQ(xmcd_problem("# xmcd\nDTITLE=A\x01\n", k_id), "binary (it holds control characters)");
    EXPECT_EQ(xmcd_problem("# xmcd\nDTITLE=" + std::string(4088, 'x') + "\n", k_id), "");   // 4095 bytes with the key
    EXPECT_EQ(xmcd_problem("# xmcd\nDTITLE=" + std::string(4089, 'x') + "\n", k_id),
              "a line longer than 4095 bytes");
    EXPECT_EQ(xmcd_problem("# xmcd\nDTITLE=x\n" + std::string(k_max_xmcd_bytes, '#'), k_id), "too large");
    EXPECT_EQ(xmcd_problem("", k_id), "not an XMCD file (it does not begin with \"# xmcd\")");
    // Latin-1 texts are fine.
    EXPECT_EQ(xmcd_problem("# xmcd\nDTITLE=Bj\xf6rk / Post\n", k_id), "");
}

TEST(Freedb, LookupAcrossCategories)
{
    temp_root r;
    const std::string dir = r.path("freedb");
    for (const char *cat : {"rock", "misc", "blues", "jazz", "data", ".hidden"})
        std::filesystem::create_directories(dir + "/" + cat);
    r.write("freedb/rock/0e02e203", good_xmcd());
    r.write("freedb/misc/0e02e203", "# xmcd\nDTITLE=Other / Match\n");
    r.write("freedb/blues/0e02e203", "not xmcd");
    r.write("freedb/jazz/0e02e204", good_xmcd(0x0e02e204));   // another disc
    r.write("freedb/data/0E02E203", good_xmcd());              // upper case: not the file's name
    r.write("freedb/.hidden/0e02e203", good_xmcd());
    r.write("freedb/0e02e203", good_xmcd());                   // not in a category
    const freedb_lookup_result f = freedb_lookup(dir, k_id);
    EXPECT_TRUE(f.available);
    ASSERT_EQ(f.matches.size(), 2u);
    EXPECT_EQ(f.matches[0], "# xmcd\nDTITLE=Other / Match\n");   // misc before rock
    EXPECT_EQ(f.matches[1], good_xmcd());
    ASSERT_EQ(f.refused.size(), 1u);
    EXPECT_EQ(f.refused[0].path, dir + "/blues/0e02e203");
    EXPECT_EQ(f.refused[0].problem, "not an XMCD file (it does not begin with \"# xmcd\")");
    EXPECT_FALSE(freedb_lookup(r.path("nowhere"), k_id).available);
    EXPECT_TRUE(freedb_lookup(dir, 0x11111111).matches.empty());
}

TEST(Freedb, HugeFilesAndFoldersAreNotRead)
{
    temp_root r;
    const std::string dir = r.path("freedb");
    std::filesystem::create_directories(dir + "/misc");
    std::filesystem::create_directories(dir + "/rock/0e02e203");
    r.write("freedb/misc/0e02e203", good_xmcd() + std::string(k_max_xmcd_bytes, '#'));
    const freedb_lookup_result f = freedb_lookup(dir, k_id);
    EXPECT_TRUE(f.matches.empty());
    ASSERT_EQ(f.refused.size(), 2u);
    EXPECT_EQ(f.refused[0].problem, "too large (" + std::to_string(good_xmcd().size() + k_max_xmcd_bytes) + " bytes)");
    EXPECT_EQ(f.refused[1].problem, "not a regular file");
}

TEST(Freedb, AtMostTwentyMatches)
{
    temp_root r;
    for (int i = 0; i < 25; ++i) {
        char cat[16];
        std::snprintf(cat, sizeof cat, "c%02d", i);
        std::filesystem::create_directories(r.path("freedb/") + cat);
        r.write(std::string("freedb/") + cat + "/0e02e203", good_xmcd());
    }
    const freedb_lookup_result f = freedb_lookup(r.path("freedb"), k_id);
    EXPECT_EQ(f.matches.size(), static_cast<std::size_t>(k_max_freedb_matches));
    EXPECT_EQ(f.refused.size(), 5u);
}

TEST(Freedb, WritingMatchesReplacesTheOldOnes)
{
    temp_root r;
    const std::string local = r.path("Local");
    std::string error;
    ASSERT_TRUE(freedb_write_matches(local, {"one", "two", "three"}, error)) << error;
    EXPECT_EQ(r.read("Local/freedbfile1"), "one");
    EXPECT_EQ(r.read("Local/freedbfile3"), "three");
    r.write("Local/keep.txt", "other");
    ASSERT_TRUE(freedb_write_matches(local, {"new"}, error)) << error;
    EXPECT_EQ(r.read("Local/freedbfile1"), "new");
    EXPECT_FALSE(std::filesystem::exists(r.path("Local/freedbfile2")));
    EXPECT_FALSE(std::filesystem::exists(r.path("Local/freedbfile3")));
    EXPECT_EQ(r.read("Local/keep.txt"), "other");
    ASSERT_TRUE(freedb_write_matches(local, {}, error));
    EXPECT_FALSE(std::filesystem::exists(r.path("Local/freedbfile1")));
    EXPECT_EQ(freedb_match_path("Local", 12), "Local/freedbfile12");
    r.write("notafolder", "x");
    EXPECT_FALSE(freedb_write_matches(r.path("notafolder"), {"x"}, error));
}

}   // namespace
