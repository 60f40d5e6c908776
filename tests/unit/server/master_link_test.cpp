// The local server's short conversations with the master.
#include "server/master_link.hpp"

#include <gtest/gtest.h>

#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

namespace {

TEST(MasterLink, HostAndPort)
{
    std::string host;
    int port = 0;
    ASSERT_TRUE(split_host_port("127.0.0.1:7117", host, port));
    EXPECT_EQ(host, "127.0.0.1");
    EXPECT_EQ(port, 7117);
    ASSERT_TRUE(split_host_port("jukebox:1", host, port));
    EXPECT_EQ(host, "jukebox");
    for (const char *bad : {"", "host", "host:", ":7117", "host:0", "host:65536", "host:12x", "host:-1"})
        EXPECT_FALSE(split_host_port(bad, host, port)) << bad;
}

TEST(MasterLink, AMasterThatIsNotThereFails)
{
    // A port that was free a moment ago: nobody listens there.
    const int s = socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in a{};
    a.sin_family = AF_INET;
    a.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    ASSERT_EQ(bind(s, reinterpret_cast<sockaddr *>(&a), sizeof a), 0);
    socklen_t len = sizeof a;
    getsockname(s, reinterpret_cast<sockaddr *>(&a), &len);
    close(s);
    const std::string master = "127.0.0.1:" + std::to_string(ntohs(a.sin_port));
    std::string text;
    std::string error;
    EXPECT_FALSE(master_read_album(master, 1, text, error));
    EXPECT_EQ(error.rfind("cannot connect to the master " + master, 0), 0u) << error;
    EXPECT_FALSE(master_mark_online(master, 1, 1, error));
    EXPECT_FALSE(master_mark_online("nowhere", 1, 1, error));
    EXPECT_EQ(error, "bad master address \"nowhere\"");
}

}   // namespace
