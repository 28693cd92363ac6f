#include "bench/Keyboard.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <pty.h>

#include "bench/Descriptor.h"
#include "support/Eventually.h"

namespace bench {
namespace {

TEST(Keyboard, HandsOverSingleKeysAndLeavesTheTerminalAsItWas) {
    int ours = -1;
    int theirs = -1;
    ASSERT_EQ(::openpty(&ours, &theirs, nullptr, nullptr, nullptr), 0);
    const Descriptor master(ours);
    const Descriptor slave(theirs);
    const Descriptor before(::dup(STDIN_FILENO));
    ::dup2(slave.get(), STDIN_FILENO);
    const auto modes = [&] {
        termios settings{};
        ::tcgetattr(slave.get(), &settings);
        return settings.c_lflag & (ICANON | ECHO);
    };
    {
        Keyboard keyboard;
        EXPECT_EQ(modes(), 0U);
        EXPECT_EQ(keyboard.take(), "");
        ASSERT_EQ(::write(master.get(), "z1", 2), 2);
        std::string keys;
        EXPECT_TRUE(eventually([&] { return (keys += keyboard.take()) == "z1"; })) << keys;
    }
    EXPECT_EQ(modes(), static_cast<tcflag_t>(ICANON | ECHO));
    ::dup2(before.get(), STDIN_FILENO);
}

}  // namespace
}  // namespace bench
