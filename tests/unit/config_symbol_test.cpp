// The configuration's globals must not take the place of C library functions
// of the same name (WAV_FOLDER's `dirname`): kept apart from config_test.cpp,
// whose header declares that array, so that this file can call the function.
#include <gtest/gtest.h>

#include <libgen.h>

namespace {

TEST(ConfigSymbols, TheCLibrarysDirnameIsStillTheFunction)
{
    char path[] = "/root/Wav/Incoming";
    EXPECT_STREQ(::dirname(path), "/root/Wav");
}

}   // namespace
