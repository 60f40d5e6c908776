#include "protocol_fixture.hpp"
#include "server/power.hpp"

#include <fstream>

namespace {

struct command_case {
    const char *text;
    std::vector<std::string> argv;   // empty: refused
};

TEST(PowerCommand, TextsSplitAtBlanksIntoAnArgumentVector)
{
    const command_case cases[] = {
        {"/sbin/reboot", {"/sbin/reboot"}},
        {"/usr/bin/systemctl reboot", {"/usr/bin/systemctl", "reboot"}},
        {"  /usr/bin/systemctl \t poweroff  ", {"/usr/bin/systemctl", "poweroff"}},
        {"/bin/echo 'a b'", {"/bin/echo", "'a", "b'"}},   // no shell: quotes are plain characters
        {"/bin/x;reboot", {"/bin/x;reboot"}},
        {"reboot", {}},                                   // a program found on no PATH: refused
        {"./reboot now", {}},
        {"", {}},
        {"   ", {}},
    };
    for (const command_case &c : cases) {
        std::vector<std::string> argv;
        std::string error;
        EXPECT_EQ(parse_power_command(c.text, argv, error), !c.argv.empty()) << c.text;
        EXPECT_EQ(argv, c.argv) << c.text;
        if (c.argv.empty()) {
            EXPECT_FALSE(error.empty()) << c.text;
        }
    }
}

TEST(PowerCommand, RunsWithoutAShellAndGivesItsStatus)
{
    temp_root root;
    const std::string out = root.path("ran");
    EXPECT_EQ(run_power_command({"/usr/bin/touch", out}), 0);
    EXPECT_TRUE(std::ifstream(out).good());
    EXPECT_EQ(run_power_command({"/bin/false"}), 1);
    EXPECT_EQ(run_power_command({"/bin/sh", "-c", "exit 7"}), 7);
    EXPECT_EQ(run_power_command({root.path("missing")}), 127);
    EXPECT_EQ(run_power_command({}), -1);
    EXPECT_EQ(command_text({"/usr/bin/systemctl", "reboot"}), "/usr/bin/systemctl reboot");
}

TEST_F(Protocol, PowerRequestsAreRefusedWithoutACommand)
{
    EXPECT_EQ(send(a, REBOOT).album, 0);
    EXPECT_EQ(send(a, SHUTDOWN).album, 0);
    EXPECT_TRUE(notices().empty());
    EXPECT_FALSE(st.stop_requested);
    EXPECT_EQ(st.after_stop, nullptr);
}

TEST_F(Protocol, ARebootWithItsCommandStopsTheServerAndNamesTheCommand)
{
    st.power.reboot = {"/usr/bin/true", "reboot"};
    st.power.poweroff = {"/usr/bin/true", "poweroff"};
    const frame_fields r = send(a, REBOOT);
    EXPECT_EQ(r.type, REBOOT);
    EXPECT_EQ(r.album, 1);
    ASSERT_EQ(out.size(), 2u);
    EXPECT_EQ(out[0].to, target::requester);
    EXPECT_EQ(out[1].to, target::others);   // the requester knows from its answer
    EXPECT_EQ(out[1].m.type, SERVER_DOWN);
    EXPECT_TRUE(st.stop_requested);
    ASSERT_NE(st.after_stop, nullptr);
    EXPECT_EQ(*st.after_stop, st.power.reboot);
}

TEST_F(Protocol, AShutdownRunsThePowerOffCommandNotTheRebootOne)
{
    st.power.poweroff = {"/usr/bin/true", "poweroff"};
    EXPECT_EQ(send(a, REBOOT).album, 0);   // no re-boot command
    EXPECT_FALSE(st.stop_requested);
    EXPECT_EQ(send(a, SHUTDOWN).album, 1);
    ASSERT_NE(st.after_stop, nullptr);
    EXPECT_EQ(*st.after_stop, st.power.poweroff);
}

TEST_F(Protocol, AConsoleLoggedInElsewhereHoldsTheService)
{
    st.power.reboot = {"/usr/bin/true"};
    st.power.poweroff = {"/usr/bin/true"};
    ASSERT_EQ(send(b, CONSOLE).album, 1);
    EXPECT_EQ(send(a, STOP_SERVICE).album, 0);
    EXPECT_EQ(send(a, REBOOT).album, 0);
    EXPECT_EQ(send(a, SHUTDOWN).album, 0);
    EXPECT_TRUE(notices().empty());
    EXPECT_FALSE(st.stop_requested);
    // The console's own connection may stop the service.
    EXPECT_EQ(send(b, STOP_SERVICE).album, 1);
    EXPECT_TRUE(st.stop_requested);
    EXPECT_EQ(st.after_stop, nullptr);
}

TEST_F(Protocol, StoppingTheServiceIsAcceptedWhenNoConsoleIsLoggedIn)
{
    ASSERT_EQ(send(b, CONSOLE).album, 1);
    outbox box;
    session_closed(st, b, box);   // the console's client went away
    const frame_fields r = send(a, STOP_SERVICE);
    EXPECT_EQ(r.album, 1);
    ASSERT_EQ(notices().size(), 1u);
    EXPECT_EQ(notices()[0].m.type, SERVER_DOWN);
    EXPECT_TRUE(st.stop_requested);
}

}   // namespace
