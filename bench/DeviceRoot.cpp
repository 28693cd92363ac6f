#include "bench/DeviceRoot.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <tinyxml2.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <functional>
#include <stdexcept>

namespace bench {
namespace fs = std::filesystem;
namespace {

constexpr const char* configDirectory = "/opt/halcyrine/config";
constexpr unsigned long pageSize = 4096;

std::string makeDirectory() {
    std::string name = fs::temp_directory_path() / "halcyrine-XXXXXX";
    if (mkdtemp(name.data()) == nullptr) {
        checked(-1, "Can't make a directory like " + name);
    }
    return name;
}

void load(tinyxml2::XMLDocument& document, const fs::path& file) {
    if (document.LoadFile(file.c_str()) != tinyxml2::XML_SUCCESS) {
        throw std::runtime_error(std::string("Can't read ") + document.ErrorStr() + " of " +
                                 file.string());
    }
}

void save(tinyxml2::XMLDocument& document, const fs::path& file) {
    if (document.SaveFile(file.c_str()) != tinyxml2::XML_SUCCESS) {
        throw std::runtime_error("Can't write " + file.string());
    }
}

std::string textOf(const tinyxml2::XMLElement* element) {
    const char* text = element == nullptr ? nullptr : element->GetText();
    return text == nullptr ? std::string() : std::string(text);
}

tinyxml2::XMLElement* findContainer(tinyxml2::XMLDocument& document, const std::string& name) {
    tinyxml2::XMLElement* root = document.RootElement();
    auto* container = root == nullptr ? nullptr : root->FirstChildElement();
    while (container != nullptr && textOf(container->FirstChildElement("Name")) != name) {
        container = container->NextSiblingElement();
    }
    return container;
}

tinyxml2::XMLElement& parametersOf(tinyxml2::XMLDocument& document, const std::string& container) {
    tinyxml2::XMLElement* found = findContainer(document, container);
    tinyxml2::XMLElement* parameters =
        found == nullptr ? nullptr : found->FirstChildElement("Parameters");
    if (parameters == nullptr) {
        throw std::runtime_error("No container " + container + " with parameters");
    }
    return *parameters;
}

unsigned long toNumber(const std::string& text, const std::string& what) {
    char* end = nullptr;
    const unsigned long value = std::strtoul(text.c_str(), &end, 0);
    if (text.empty() || *end != '\0') {
        throw std::runtime_error("No number in " + what + ": \"" + text + "\"");
    }
    return value;
}

/** Calls `visit` with each container of the I/O devices file that has a parameter of that name,
 *  and with the parameter's number. */
void forEachDevice(const fs::path& file, const char* parameter,
                   const std::function<void(const tinyxml2::XMLElement&, unsigned long)>& visit) {
    tinyxml2::XMLDocument document;
    load(document, file);
    const auto* root = document.RootElement();
    for (auto* device = root == nullptr ? nullptr : root->FirstChildElement(); device != nullptr;
         device = device->NextSiblingElement()) {
        const auto* parameters = device->FirstChildElement("Parameters");
        const auto* value =
            parameters == nullptr ? nullptr : parameters->FirstChildElement(parameter);
        if (value != nullptr) {
            visit(*parameters, toNumber(textOf(value), parameter));
        }
    }
}

/** Calls `visit` with every element from `element` on, itself first. */
void walk(tinyxml2::XMLElement* element, const std::function<void(tinyxml2::XMLElement&)>& visit) {
    if (element == nullptr) {
        return;
    }
    visit(*element);
    for (auto* child = element->FirstChildElement(); child != nullptr;
         child = child->NextSiblingElement()) {
        walk(child, visit);
    }
}

}  // namespace

DeviceRoot::DeviceRoot() : m_path(makeDirectory()) {
    startRemover();
    fs::create_directories(m_path / "dev");
    fs::create_directories(m_path / "run/victory");
    fs::create_directories(file(configDirectory));
    fs::copy(BENCH_CONFIG_DIRECTORY, file(configDirectory), fs::copy_options::recursive);
    layMemory();
    layQueues();
}

DeviceRoot::~DeviceRoot() {
    if (!m_kept) {
        std::error_code ignored;
        fs::remove_all(m_path, ignored);
    }
    m_removerInput.close();
    ::waitpid(m_remover, nullptr, 0);
}

void DeviceRoot::keep() {
    m_kept = true;
    checked(static_cast<int>(::write(m_removerInput.get(), "\n", 1)), "Can't keep the directory");
}

fs::path DeviceRoot::file(const std::string& platformPath) const {
    return m_path / fs::path(platformPath).relative_path();
}

fs::path DeviceRoot::configFile(const std::string& name) const {
    return file(configDirectory) / name;
}

fs::path DeviceRoot::busSocket() const {
    return file("/run/victory/gps-receiver.sock");
}

std::string DeviceRoot::serverArgument() {
    return std::string(configDirectory) + "/" + serverFile;
}

bool DeviceRoot::hasContainer(const std::string& file, const std::string& container) const {
    tinyxml2::XMLDocument document;
    load(document, configFile(file));
    return findContainer(document, container) != nullptr;
}

std::string DeviceRoot::parameter(const std::string& file, const std::string& container,
                                  const std::string& name) const {
    tinyxml2::XMLDocument document;
    load(document, configFile(file));
    return textOf(parametersOf(document, container).FirstChildElement(name.c_str()));
}

unsigned long DeviceRoot::number(const std::string& file, const std::string& container,
                                 const std::string& name) const {
    return toNumber(parameter(file, container, name), container + " " + name);
}

void DeviceRoot::setParameter(const std::string& file, const std::string& container,
                              const std::string& name, const std::string& value) {
    tinyxml2::XMLDocument document;
    load(document, configFile(file));
    tinyxml2::XMLElement& parameters = parametersOf(document, container);
    tinyxml2::XMLElement* element = parameters.FirstChildElement(name.c_str());
    if (element == nullptr) {
        element = parameters.InsertNewChildElement(name.c_str());
    }
    element->DeleteChildren();
    if (!value.empty()) {
        element->SetText(value.c_str());
    }
    save(document, configFile(file));
}

void DeviceRoot::removeParameter(const std::string& file, const std::string& container,
                                 const std::string& name) {
    tinyxml2::XMLDocument document;
    load(document, configFile(file));
    tinyxml2::XMLElement& parameters = parametersOf(document, container);
    if (auto* element = parameters.FirstChildElement(name.c_str()); element != nullptr) {
        parameters.DeleteChild(element);
    }
    save(document, configFile(file));
}

void DeviceRoot::addContainer(const std::string& file, const std::string& container) {
    tinyxml2::XMLDocument document;
    load(document, configFile(file));
    if (document.RootElement() == nullptr || findContainer(document, container) != nullptr) {
        return;
    }
    tinyxml2::XMLElement* added = document.RootElement()->InsertNewChildElement("Container");
    added->InsertNewChildElement("Name")->SetText(container.c_str());
    added->InsertNewChildElement("Parameters");
    save(document, configFile(file));
}

void DeviceRoot::removeContainer(const std::string& file, const std::string& container) {
    tinyxml2::XMLDocument document;
    load(document, configFile(file));
    if (auto* element = findContainer(document, container); element != nullptr) {
        document.RootElement()->DeleteChild(element);
    }
    save(document, configFile(file));
}

void DeviceRoot::setUpdatePeriod(const std::string& dataItem, unsigned milliseconds) {
    tinyxml2::XMLDocument document;
    load(document, configFile(vclFile));
    walk(document.RootElement(), [&](tinyxml2::XMLElement& item) {
        if (!dataItem.empty() && item.Attribute("type", dataItem.c_str()) == nullptr) {
            return;
        }
        walk(&item, [&](tinyxml2::XMLElement& element) {
            if (element.Attribute("name", "updatePeriod") != nullptr) {
                element.SetAttribute("value", milliseconds);
            }
        });
    });
    save(document, configFile(vclFile));
}

void DeviceRoot::setUpdatePeriods(unsigned milliseconds) {
    setUpdatePeriod("", milliseconds);
}

void DeviceRoot::layMemory() const {
    unsigned long end = 0;
    forEachDevice(configFile(ioDevicesFile), "BaseAddress",
                  [&](const tinyxml2::XMLElement& block, unsigned long base) {
                      const auto size = toNumber(textOf(block.FirstChildElement("Size")), "Size");
                      end = std::max(end, base + size);
                  });
    const fs::path memory = file("/dev/mem");
    const Descriptor fd(checked(::open(memory.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600),
                                "Can't make " + memory.string()));
    // A mapping takes whole pages, and one more than a block needs that ends with a page.
    const auto length = static_cast<off_t>((end / pageSize + 2) * pageSize);
    checked(::ftruncate(fd.get(), length), "Can't lengthen " + memory.string());
}

void DeviceRoot::layQueues() const {
    forEachDevice(configFile(ioDevicesFile), "Port",
                  [&](const tinyxml2::XMLElement&, unsigned long port) {
                      const fs::path pipe = file("/dev/mcs" + std::to_string(port));
                      if (!fs::exists(pipe)) {
                          checked(::mkfifo(pipe.c_str(), 0600), "Can't make " + pipe.string());
                      }
                  });
}

/** A shell that waits for the end of file of its input and then removes the directory; a line of
 *  input ends it without. It is detached from the console: no signal from there reaches it. */
void DeviceRoot::startRemover() {
    int ends[2];
    checked(::pipe2(ends, O_CLOEXEC), "Can't make a pipe");
    const Descriptor reading(ends[0]);
    m_removerInput = Descriptor(ends[1]);
    const std::string path = m_path.string();
    const char* const arguments[] = {
        "sh", "-c",         "trap '' HUP INT TERM; read -r line || rm -rf -- \"$1\"",
        "sh", path.c_str(), nullptr};
    m_remover = checked(::fork(), "Can't start a process");
    if (m_remover == 0) {
        ::setsid();
        ::dup2(reading.get(), STDIN_FILENO);
        ::execv("/bin/sh", const_cast<char* const*>(arguments));
        ::_exit(127);
    }
}

}  // namespace bench
