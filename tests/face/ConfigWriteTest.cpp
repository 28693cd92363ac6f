#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include <csignal>
#include <string>

#include "face/FaceFixture.h"

namespace {

using FACE::HC_Config;
using face_test::GOOD;
using face_test::RC;

std::string replaced(std::string text, const std::string& old, const std::string& fresh) {
    return text.replace(text.find(old), old.size(), fresh);
}

/** Lets files of this process grow to `bytes` and no further, as on a device that is full. */
class FullDevice {
public:
    explicit FullDevice(rlim_t bytes) : m_handler(std::signal(SIGXFSZ, SIG_IGN)) {
        ::getrlimit(RLIMIT_FSIZE, &m_before);
        rlimit limit = m_before;
        limit.rlim_cur = bytes;
        ::setrlimit(RLIMIT_FSIZE, &limit);
    }
    ~FullDevice() {
        ::setrlimit(RLIMIT_FSIZE, &m_before);
        std::signal(SIGXFSZ, m_handler);
    }
    FullDevice(const FullDevice&) = delete;
    FullDevice& operator=(const FullDevice&) = delete;

private:
    rlimit m_before{};
    void (*m_handler)(int);
};

class ConfigWrite : public face_test::LoadedFixture {
protected:
    ~ConfigWrite() override { EXPECT_EQ(filesInDirectory(), m_expectedFiles); }

    long filesInDirectory() const {
        return std::distance(std::filesystem::directory_iterator(m_directory), {});
    }

    int m_handle = open(m_config, "A");
    long m_expectedFiles = 1;
};

TEST_F(ConfigWrite, EveryValueComesBackFromTheFile) {
    const int handle = open(m_config, "B");
    for (const char* parameter : {"Port", "Quoted", "Noted"}) {
        for (const std::string value : {"]]>", "</Port>", "<!--", "<9>&amp;", "\"' x"}) {
            ASSERT_EQ(write(m_config, handle, parameter, value), RC::NO_ERROR);
            HC_Config again;
            ASSERT_EQ(initialize(again), RC::NO_ERROR) << file();
            EXPECT_EQ(read(again, open(again, "B"), parameter), value);
        }
    }
}

TEST_F(ConfigWrite, RefusesWhatIsNoParameterWithText) {
    for (const char* parameter : {"", "Empty", "Missing", static_cast<const char*>(nullptr)}) {
        EXPECT_EQ(write(m_config, m_handle, parameter, "x"), RC::INVALID_PARAM);
    }
    EXPECT_EQ(write(m_config, open(m_config, "C"), "Port", "x"), RC::INVALID_PARAM);
    EXPECT_EQ(file(), GOOD);
}

TEST_F(ConfigWrite, EmptiedParameterCannotBeWrittenAgain) {
    int written = -1;
    EXPECT_EQ(codeOf(&HC_Config::Write, m_config, m_handle, "Text", nullptr, 0, written),
              RC::NO_ERROR);
    EXPECT_EQ(written, 0);
    EXPECT_EQ(write(m_config, m_handle, "Text", "x"), RC::INVALID_PARAM);
    EXPECT_EQ(read(m_config, m_handle, "Text"), "<INVALID_PARAM>");
}

TEST_F(ConfigWrite, FullDeviceCostsNothing) {
    for (const rlim_t room : {rlim_t{0}, rlim_t{1}, rlim_t{GOOD.size() - 1}}) {
        const FullDevice device(room);
        EXPECT_EQ(write(m_config, m_handle, "Port", "0x11"), RC::NO_ACTION);
        EXPECT_EQ(file(), GOOD) << room;
        EXPECT_EQ(filesInDirectory(), 1);
    }
    EXPECT_EQ(read(m_config, m_handle, "Port"), "0x11");
    ASSERT_EQ(write(m_config, m_handle, "Text", "T"), RC::NO_ERROR);  // saves both
    EXPECT_EQ(file(), replaced(replaced(GOOD, "0x10", "0x11"), "Tom &amp; &lt;Jerry&gt;", "T"));
}

TEST_F(ConfigWrite, VanishedDirectoryIsNoActionAndVanishedFileIsMade) {
    std::filesystem::remove_all(m_directory);
    EXPECT_EQ(write(m_config, m_handle, "Port", "7"), RC::NO_ACTION);
    std::filesystem::create_directory(m_directory);
    EXPECT_EQ(write(m_config, m_handle, "Port", "8"), RC::NO_ERROR);
    EXPECT_EQ(file(), replaced(GOOD, "0x10", "8"));
    struct stat status {};
    ASSERT_EQ(::stat(m_path.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777U, 0644U);
}

TEST_F(ConfigWrite, KeepsModeAndLink) {
    const std::filesystem::path real = m_directory / "real.xml";
    std::filesystem::rename(m_path, real);
    std::filesystem::create_symlink("real.xml", m_path);
    m_expectedFiles = 2;
    ASSERT_EQ(::chmod(real.c_str(), 0640), 0);
    ASSERT_EQ(write(m_config, m_handle, "Port", "7"), RC::NO_ERROR);
    EXPECT_TRUE(std::filesystem::is_symlink(m_path));
    EXPECT_EQ(file(), replaced(GOOD, "0x10", "7"));
    struct stat status {};
    ASSERT_EQ(::stat(real.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777U, 0640U);
}

TEST_F(ConfigWrite, WhatIsNoFileIsLeftAlone) {
    std::filesystem::remove(m_path);
    ASSERT_EQ(::mkfifo(m_path.c_str(), 0600), 0);
    EXPECT_EQ(write(m_config, m_handle, "Port", "7"), RC::NO_ACTION);
    const int reader = ::open(m_path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    EXPECT_EQ(write(m_config, m_handle, "Port", "7"), RC::NO_ACTION);
    ::close(reader);
    EXPECT_TRUE(std::filesystem::is_fifo(m_path));
    std::filesystem::remove(m_path);
    std::filesystem::create_directory(m_path);
    EXPECT_EQ(write(m_config, m_handle, "Port", "7"), RC::NO_ACTION);
}

}  // namespace
