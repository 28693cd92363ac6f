#include "bench/Keyboard.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <pty.h>

#include "bench/Descriptor.h"
#include "support/Eventually.h"

namespace bench {
namespace {

/** Our standard input is the given descriptor, until the object goes. */
class StandardInput {
public:
    explicit StandardInput(int descriptor) : m_before(::dup(STDIN_FILENO)) {
        ::dup2(descriptor, STDIN_FILENO);
    }
    ~StandardInput() { ::dup2(m_before.get(), STDIN_FILENO); }
    StandardInput(const StandardInput&) = delete;
    StandardInput& operator=(const StandardInput&) = delete;

private:
    const Descriptor m_before;
};

std::string takeAll(Keyboard& keyboard, std::size_t count) {
    std::string keys;
    eventually([&] { return (keys += keyboard.take()).size() >= count; });
    return keys;
}

TEST(Keyboard, HandsOverSingleKeysAndLeavesTheTerminalAsItWas) {
    int ours = -1;
    int theirs = -1;
    ASSERT_EQ(::openpty(&ours, &theirs, nullptr, nullptr, nullptr), 0);
    const Descriptor master(ours);
    const Descriptor slave(theirs);
    const StandardInput input(slave.get());
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
        EXPECT_EQ(takeAll(keyboard, 2), "z1");
    }
    EXPECT_EQ(modes(), static_cast<tcflag_t>(ICANON | ECHO));
}

TEST(Keyboard, InputThatEndsIsNoTerminal) {
    int ends[2];
    ASSERT_EQ(::pipe2(ends, O_CLOEXEC), 0);
    const Descriptor reading(ends[0]);
    Descriptor writing(ends[1]);
    const StandardInput input(reading.get());
    Keyboard keyboard;
    ASSERT_EQ(::write(writing.get(), "h", 1), 1);
    EXPECT_EQ(takeAll(keyboard, 1), "h");
    writing.close();
    EXPECT_EQ(keyboard.take(), "");
    EXPECT_EQ(keyboard.take(), "");
}

}  // namespace
}  // namespace bench
