// A stdio file that is closed when its holder goes out of scope.
#pragma once

#include <cstdio>
#include <string_view>
#include <utility>

struct file_handle {
    std::FILE *f = nullptr;   // null when the file could not be opened

    file_handle() = default;
    file_handle(const char *path, const char *mode) : f(std::fopen(path, mode)) {}
    file_handle(const file_handle &) = delete;
    file_handle &operator=(const file_handle &) = delete;
    file_handle(file_handle &&other) noexcept : f(std::exchange(other.f, nullptr)) {}
    file_handle &operator=(file_handle &&other) noexcept
    {
        std::swap(f, other.f);
        return *this;
    }
    ~file_handle()
    {
        if (f != nullptr)
            std::fclose(f);
    }

    // Writes a text as it stands.
    void write(std::string_view text) const { std::fwrite(text.data(), 1, text.size(), f); }
};
