// A temporary working directory with a "Media" folder, for the tests of the
// code that opens media files by their relative names. The directory is left
// and removed at the end.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <string>
#include <unistd.h>
#include <vector>

namespace media_test {

// Interleaved 16-bit samples as file bytes.
inline std::string sample_bytes(const std::vector<std::int16_t> &samples)
{
    std::string s;
    for (std::int16_t v : samples) {
        s.push_back(static_cast<char>(static_cast<std::uint16_t>(v) & 0xFF));
        s.push_back(static_cast<char>(static_cast<std::uint16_t>(v) >> 8));
    }
    return s;
}

// A 44-byte header: riff (4 characters) and the data size at byte 40.
inline std::string wav_head(std::int64_t data_size, const char *riff = "RIFF")
{
    std::string s(riff, 4);
    s.resize(44, '\0');
    const auto size = static_cast<std::uint32_t>(data_size);
    for (int i = 0; i < 4; ++i)
        s[40 + static_cast<std::size_t>(i)] = static_cast<char>((size >> (8 * i)) & 0xFF);
    return s;
}

// A whole WAV file of the samples, its data size theirs.
inline std::string wav_bytes(const std::vector<std::int16_t> &samples, const char *riff = "RIFF")
{
    return wav_head(static_cast<std::int64_t>(samples.size() * 2), riff) + sample_bytes(samples);
}

// (left, right) repeated.
inline std::vector<std::int16_t> frames(std::size_t count, std::int16_t left, std::int16_t right)
{
    std::vector<std::int16_t> s;
    for (std::size_t i = 0; i < count; ++i) {
        s.push_back(left);
        s.push_back(right);
    }
    return s;
}

class media_folder : public ::testing::Test {
protected:
    std::filesystem::path root;
    std::filesystem::path saved;

    void SetUp() override
    {
        char name[] = "/tmp/zkmediaXXXXXX";
        ASSERT_NE(mkdtemp(name), nullptr);
        root = name;
        saved = std::filesystem::current_path();
        std::filesystem::create_directory(root / "Media");
        std::filesystem::current_path(root);
    }

    void TearDown() override
    {
        std::filesystem::current_path(saved);
        std::error_code ec;
        std::filesystem::remove_all(root, ec);
    }

    // Writes Media/<name>.
    static void put(const std::string &name, const std::string &bytes)
    {
        std::FILE *f = std::fopen(("Media/" + name).c_str(), "wb");
        ASSERT_NE(f, nullptr);
        std::fwrite(bytes.data(), 1, bytes.size(), f);
        std::fclose(f);
    }
};

}   // namespace media_test
