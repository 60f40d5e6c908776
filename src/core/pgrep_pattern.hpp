// The pattern that finds one of this program's processes by its name.
#pragma once

#include <cstddef>
#include <string_view>

// Writes the pgrep -x -f pattern "^<desc> <role>.*" into out, every character
// of desc and role that means something in an extended regular expression
// escaped, so that a name such as "a.*" matches only itself and never another
// program's command line. False (out empty) when it does not fit cap.
bool pgrep_pattern(char *out, std::size_t cap, std::string_view desc, std::string_view role);
