// Fuzzes the client's reader of a GETTIME reply (the server's clock in hex)
// and the time text it shows.
//
// Checked: a clock taken is never negative; the time text stays terminated.
#include "core/link.hpp"

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    const std::string text(reinterpret_cast<const char *>(data), size);
    std::time_t t = 12345;
    if (!parse_server_time(text.c_str(), t)) {
        if (t != 12345)
            std::abort();   // a text that is no clock leaves the time alone
        return 0;
    }
    if (t < 0)
        std::abort();
    char out[64];
    format_server_time(out, t);
    if (strnlen(out, sizeof out) == sizeof out)
        std::abort();
    return 0;
}
