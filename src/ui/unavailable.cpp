#include "ui/unavailable.hpp"

#include "ui/popup.hpp"

#include <cstdio>

int not_available(const char *what)
{
    char text[160];
    std::snprintf(text, sizeof text, "%s is not available yet", what);
    popup(text, 0);
    return -1;
}
