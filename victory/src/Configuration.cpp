#include "victory/src/Configuration.h"

#include <tinyxml2.h>

#include <charconv>
#include <cstdint>
#include <cstring>
#include <stdexcept>
#include <string_view>

#include "victory/src/Complaint.h"

namespace victory {

namespace {

using tinyxml2::XMLDocument;
using tinyxml2::XMLElement;

/** Parses into `document`; returns its root, which has to be called `rootName`. */
const XMLElement& parse(XMLDocument& document, const char* xml, const char* rootName,
                        const std::string& what) {
    if (document.Parse(xml == nullptr ? "" : xml) != tinyxml2::XML_SUCCESS) {
        throw std::runtime_error(what + " isn't XML: " + document.ErrorName() + " in line " +
                                 std::to_string(document.ErrorLineNum()));
    }
    const XMLElement* root = document.RootElement();
    if (root == nullptr || std::strcmp(root->Name(), rootName) != 0) {
        throw std::runtime_error(what + " has the root element \"" +
                                 printable(root == nullptr ? "" : root->Name()) + "\", needed is " +
                                 rootName);
    }
    return *root;
}

/** Depth first, the element itself before its children. The XML parser bounds the depth. */
const XMLElement* find(const XMLElement* element, const char* attribute, const char* value) {
    if (element == nullptr || element->Attribute(attribute, value) != nullptr) {
        return element;
    }
    for (const XMLElement* child = element->FirstChildElement(); child != nullptr;
         child = child->NextSiblingElement()) {
        if (const XMLElement* found = find(child, attribute, value)) {
            return found;
        }
    }
    return nullptr;
}

std::chrono::milliseconds periodOf(const XMLElement& vcl, const char* dataItem) {
    const XMLElement* period = find(find(&vcl, "type", dataItem), "name", "updatePeriod");
    const char* value = period == nullptr ? nullptr : period->Attribute("value");
    if (value == nullptr) {
        return std::chrono::milliseconds(0);
    }
    const std::string_view text(value);
    std::uint32_t milliseconds = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), milliseconds);
    if (error != std::errc() || end != text.data() + text.size()) {
        throw std::runtime_error("VCL, line " + std::to_string(period->GetLineNum()) +
                                 ": updatePeriod of " + dataItem + " is \"" + printable(text) +
                                 "\", needed are milliseconds from 0 to 4294967295");
    }
    return std::chrono::milliseconds(milliseconds);
}

}  // namespace

ServiceConfiguration readServiceConfiguration(const char* xml) {
    XMLDocument document;
    const XMLElement& root = parse(document, xml, "VictoryService", "service configuration");
    const XMLElement* endpoint = root.FirstChildElement("Endpoint");
    const char* path = endpoint == nullptr ? nullptr : endpoint->GetText();
    if (path == nullptr || path[0] != '/') {
        throw std::runtime_error("service configuration: Endpoint needs an absolute path");
    }
    const XMLElement* name = root.FirstChildElement("Name");
    const char* nameText = name == nullptr ? nullptr : name->GetText();
    return {nameText == nullptr ? "GPS Receiver" : nameText, path};
}

Periods readVcl(const char* xml) {
    XMLDocument document;
    const XMLElement& root = parse(document, xml, "vcl:VCL", "VCL");
    Periods periods{};
    for (std::size_t item = 0; item < DATA_ITEMS; ++item) {
        periods[item] = periodOf(root, kDataItems[item]);
    }
    return periods;
}

}  // namespace victory
