#include "face/HC_Config.h"

#include <tinyxml2.h>

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <string_view>
#include <system_error>
#include <utility>

#include "utilities/Console.h"
#include "utilities/DeviceRoot.h"
#include "utilities/FileReplace.h"

namespace FACE {

using tinyxml2::XMLDocument;
using tinyxml2::XMLElement;
using tinyxml2::XMLNode;
using tinyxml2::XMLText;

namespace {

constexpr const char* ROOT = "HC_Configurations";
constexpr const char* SCHEMA = "xsi:noNamespaceSchemaLocation";
constexpr const char* NAME = "Name";
constexpr const char* PARAMETERS = "Parameters";

/** The text that makes up an element's value: its first child that is no comment, when that is a
 *  text and not empty. Null otherwise, and for no element.
 */
XMLText* textOf(XMLElement* element) {
    XMLNode* node = element == nullptr ? nullptr : element->FirstChild();
    while (node != nullptr && node->ToComment() != nullptr) {
        node = node->NextSibling();
    }
    XMLText* text = node == nullptr ? nullptr : node->ToText();
    return text == nullptr || *text->Value() == '\0' ? nullptr : text;
}

/** The container's name; empty when the element is no container. */
std::string_view nameOf(XMLElement* container) {
    const XMLText* text = textOf(container->FirstChildElement(NAME));
    return text == nullptr ? std::string_view() : text->Value();
}

XMLElement* nextOf(XMLElement* element, const char* tag, bool forward) {
    return forward ? element->NextSiblingElement(tag) : element->PreviousSiblingElement(tag);
}

/** The first container, in document order or from the end, whose name or tag is `wanted`. */
XMLElement* getConfigContainer(XMLDocument* document, std::string_view wanted, bool forward) {
    XMLElement* root = document == nullptr ? nullptr : document->FirstChildElement(ROOT);
    if (root == nullptr) {
        return nullptr;
    }
    XMLElement* child = forward ? root->FirstChildElement() : root->LastChildElement();
    for (; child != nullptr; child = nextOf(child, nullptr, forward)) {
        const std::string_view name = nameOf(child);
        if (!name.empty() && (name == wanted || child->Name() == wanted)) {
            return child;
        }
    }
    return nullptr;
}

/** The container of type `tag` that lies `steps` of them away; null past the last. */
XMLElement* stepFrom(XMLElement* start, const std::string& tag, long long steps, bool forward) {
    XMLElement* element = start;
    while (element != nullptr && steps > 0) {
        element = nextOf(element, tag.c_str(), forward);
        if (element != nullptr && !nameOf(element).empty()) {
            --steps;
        }
    }
    return element;
}

/** The text of a parameter of `container`, or of its name when `parameter` is empty. */
XMLText* locate(XMLElement* container, const String& parameter) {
    if (!parameter.is_valid() || container == nullptr) {
        return nullptr;
    }
    if (parameter[0] == '\0') {
        return textOf(container->FirstChildElement(NAME));
    }
    XMLElement* parameters = container->FirstChildElement(PARAMETERS);
    return parameters == nullptr ? nullptr
                                 : textOf(parameters->FirstChildElement(parameter.buffer()));
}

bool isBuffer(const void* buffer, int size) {
    return size == 0 || (size > 0 && buffer != nullptr);
}

/** Whether the file is worth handing to the parser, which takes it into memory whole. */
bool isLoadable(const std::string& path) {
    std::error_code error;
    return std::filesystem::is_regular_file(path, error) &&
           std::filesystem::file_size(path, error) <= HC_Config::MAX_FILE_SIZE && !error;
}

/** Runs one operation; whatever it throws, `rc` says INVALID_CONFIG. */
template <typename Operation>
void atBoundary(RETURN_CODE_TYPE::Value& rc, const Operation& operation) noexcept {
    try {
        operation();
    } catch (...) {
        rc = RETURN_CODE_TYPE::INVALID_CONFIG;
    }
}

}  // namespace

/** What a handle stands for. */
struct HC_Config::config_set {
    explicit config_set(XMLElement* element) : tag(element->Name()) { moveTo(element); }

    void moveTo(XMLElement* element) {
        name = nameOf(element);
        container = element;
    }

    XMLElement* container = nullptr;  ///< where the handle is now; the document's
    const std::string tag;
    std::string name;
};

HC_Config::HC_Config() = default;

HC_Config::~HC_Config() = default;

void HC_Config::Initialize(const String& file, RETURN_CODE_TYPE::Value& rc) {
    rc = RETURN_CODE_TYPE::NO_ERROR;
    if (m_initialized) {
        return;
    }
    if (!file.is_valid()) {
        rc = RETURN_CODE_TYPE::INVALID_PARAM;
        return;
    }
    atBoundary(rc, [&] { load(file, rc); });
}

void HC_Config::load(const String& file, RETURN_CODE_TYPE::Value& rc) {
    rc = RETURN_CODE_TYPE::INVALID_CONFIG;
    const utilities::MutexLock lock(m_mutex);
    m_document = std::make_unique<XMLDocument>(true, tinyxml2::PRESERVE_WHITESPACE);
    const std::string path = utilities::resolvePath(file.view());
    if (!isLoadable(path) || m_document->LoadFile(path.c_str()) != tinyxml2::XML_SUCCESS) {
        return;
    }
    const XMLElement* root = m_document->FirstChildElement(ROOT);
    if (root == nullptr) {
        utilities::printLine("Configuration XML - ", file.view(), " Error: Unable to locate the ",
                             ROOT, " object");
        return;
    }
    const char* schema = root->Attribute(SCHEMA);
    m_schemaLocation = schema == nullptr ? "" : schema;
    m_file = file.view();
    m_initialized = true;
    rc = RETURN_CODE_TYPE::NO_ERROR;
}

void HC_Config::Open(const String& container, int& handle, RETURN_CODE_TYPE::Value& rc) {
    if (!m_initialized) {
        rc = RETURN_CODE_TYPE::INVALID_MODE;
        return;
    }
    atBoundary(rc, [&] { open(container, handle, rc); });
}

void HC_Config::open(const String& container, int& handle, RETURN_CODE_TYPE::Value& rc) {
    static std::atomic<int> s_HandleCount{0};

    rc = RETURN_CODE_TYPE::NO_ERROR;
    const auto take = [&](const auto& found) { handle = found->first; };
    const auto ofName = [&](const auto& entry) { return entry.second->name == container.view(); };
    if (const auto open = std::ranges::find_if(m_handles, ofName); open != m_handles.end()) {
        return take(open);
    }
    XMLElement* element = getConfigContainer(m_document.get(), container.view(), true);
    if (element == nullptr) {
        rc = RETURN_CODE_TYPE::INVALID_CONFIG;
        return;
    }
    const auto ofTag = [&](const auto& entry) { return entry.second->tag == element->Name(); };
    if (const auto open = std::ranges::find_if(m_handles, ofTag); open != m_handles.end()) {
        open->second->moveTo(element);
        return take(open);
    }
    take(m_handles.emplace(s_HandleCount++, std::make_unique<config_set>(element)).first);
}

HC_Config::config_set* HC_Config::find(int handle) const {
    const auto entry = m_handles.find(handle);
    return entry == m_handles.end() ? nullptr : entry->second.get();
}

void HC_Config::Get_Size(int handle, const String& parameter, int& size,
                         RETURN_CODE_TYPE::Value& rc) {
    rc = RETURN_CODE_TYPE::INVALID_CONFIG;
    const config_set* set = find(handle);
    const XMLText* text = set == nullptr ? nullptr : locate(set->container, parameter);
    if (text == nullptr) {
        return;
    }
    size = static_cast<int>(std::string_view(text->Value()).size());
    rc = RETURN_CODE_TYPE::NO_ERROR;
}

void HC_Config::Read(int handle, const String& parameter, void* buffer, int buffer_size,
                     int& bytes_read, RETURN_CODE_TYPE::Value& rc) {
    rc = RETURN_CODE_TYPE::INVALID_CONFIG;
    bytes_read = 0;
    const config_set* set = find(handle);
    if (set == nullptr) {
        return;
    }
    const XMLText* text = locate(set->container, parameter);
    if (text == nullptr || !isBuffer(buffer, buffer_size)) {
        rc = RETURN_CODE_TYPE::INVALID_PARAM;
        return;
    }
    const std::string_view value(text->Value());
    const std::size_t room = static_cast<std::size_t>(buffer_size);
    const std::size_t copied = std::min(value.size(), room);
    char* bytes = static_cast<char*>(buffer);
    std::fill_n(std::copy_n(value.data(), copied, bytes), room - copied, '\0');
    bytes_read = static_cast<int>(copied);
    rc = RETURN_CODE_TYPE::NO_ERROR;
}

void HC_Config::Write(int handle, const String& parameter, void* buffer, int buffer_size,
                      int& bytes_written, RETURN_CODE_TYPE::Value& rc) {
    rc = RETURN_CODE_TYPE::INVALID_CONFIG;
    bytes_written = 0;
    const config_set* set = find(handle);
    if (set == nullptr) {
        return;
    }
    XMLText* text = locate(set->container, parameter);
    if (text == nullptr || parameter[0] == '\0' || !isBuffer(buffer, buffer_size)) {
        rc = RETURN_CODE_TYPE::INVALID_PARAM;
        return;
    }
    atBoundary(rc, [&] {
        const std::string value(static_cast<const char*>(buffer),
                                static_cast<std::size_t>(buffer_size));
        text->SetCData(false);  // escaped as plain text, no value can end it early
        text->SetValue(value.c_str());
        const bool saved = save();
        bytes_written = saved ? buffer_size : 0;
        rc = saved ? RETURN_CODE_TYPE::NO_ERROR : RETURN_CODE_TYPE::NO_ACTION;
    });
}

bool HC_Config::save() {
    const utilities::MutexLock lock(m_mutex);
    tinyxml2::XMLPrinter printer;
    m_document->Print(&printer);
    return utilities::replaceFile(utilities::resolvePath(m_file), printer.CStr());
}

void HC_Config::Seek(int handle, WHENCE_TYPE::Value whence, int offset,
                     RETURN_CODE_TYPE::Value& rc) {
    rc = RETURN_CODE_TYPE::INVALID_CONFIG;
    config_set* set = find(handle);
    if (set == nullptr || whence > WHENCE_TYPE::SEEK_FROM_END) {
        return;
    }
    const bool fromEnd = whence == WHENCE_TYPE::SEEK_FROM_END;
    XMLElement* start = whence == WHENCE_TYPE::SEEK_FROM_CURRENT
                            ? set->container
                            : getConfigContainer(m_document.get(), set->tag, !fromEnd);
    const bool forward = fromEnd ? offset < 0 : offset >= 0;
    XMLElement* reached = stepFrom(start, set->tag, std::llabs(offset), forward);
    if (reached == nullptr) {
        rc = RETURN_CODE_TYPE::INVALID_PARAM;
        return;
    }
    atBoundary(rc, [&] {
        set->moveTo(reached);
        rc = RETURN_CODE_TYPE::NO_ERROR;
    });
}

void HC_Config::Close(int handle, RETURN_CODE_TYPE::Value& rc) {
    const bool known = m_handles.erase(handle) == 1;
    rc = known ? RETURN_CODE_TYPE::NO_ERROR : RETURN_CODE_TYPE::INVALID_CONFIG;
}

}  // namespace FACE
