/** A device root of a test's own: a directory with dev/ and a configuration file, gone at the end.
 */
#pragma once

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <utility>
#include <vector>

/** One container of a configuration: its name, and its parameters as text. */
struct Container {
    std::string name;
    std::vector<std::pair<std::string, std::string>> parameters;
};

class TemporaryUnit {
public:
    TemporaryUnit() {
        std::string pattern = std::filesystem::temp_directory_path() / "unit-XXXXXX";
        m_root = ::mkdtemp(pattern.data());
        std::filesystem::create_directory(m_root / "dev");
        use();
    }
    ~TemporaryUnit() {
        ::unsetenv("HALCYRINE_ROOT");
        for (const int descriptor : m_pipes) {
            ::close(descriptor);
        }
        std::error_code ignored;
        std::filesystem::remove_all(m_root, ignored);
    }
    TemporaryUnit(const TemporaryUnit&) = delete;
    TemporaryUnit& operator=(const TemporaryUnit&) = delete;

    /** Makes this root the one that devices are opened below. */
    void use() const { ::setenv("HALCYRINE_ROOT", m_root.c_str(), 1); }

    std::filesystem::path device(const std::string& name) const { return m_root / "dev" / name; }

    /** A file of `size` zero bytes that takes no room. */
    void makeSparse(const std::string& name, std::uint64_t size) const {
        std::ofstream(device(name)).flush();
        std::filesystem::resize_file(device(name), size);
    }

    /** A pipe that holds a megabyte, and a descriptor of both its ends, so that no open waits. */
    int makePipe(const std::string& name) {
        ::mkfifo(device(name).c_str(), 0600);
        m_pipes.push_back(::open(device(name).c_str(), O_RDWR | O_NONBLOCK | O_CLOEXEC));
        ::fcntl(m_pipes.back(), F_SETPIPE_SZ, 1 << 20);
        return m_pipes.back();
    }

    /** Writes the configuration of `containers`; its path. */
    std::string configure(const std::vector<Container>& containers) const {
        std::ofstream file(m_root / "devices.xml");
        file << "<HC_Configurations>";
        for (const Container& container : containers) {
            file << "<Device><Name>" << container.name << "</Name><Parameters>";
            for (const auto& [name, value] : container.parameters) {
                file << '<' << name << '>' << value << "</" << name << '>';
            }
            file << "</Parameters></Device>";
        }
        file << "</HC_Configurations>";
        return m_root / "devices.xml";
    }

private:
    std::filesystem::path m_root;
    std::vector<int> m_pipes;
};
