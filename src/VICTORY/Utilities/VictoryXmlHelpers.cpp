#include "VICTORY/Utilities/VictoryXmlHelpers.h"

namespace VICTORY {

tinyxml2::XMLElement* FindElementWithAttribute(tinyxml2::XMLElement* element, const char* attribute,
                                               const char* value) {
    if (element == nullptr || element->Attribute(attribute, value) != nullptr) {
        return element;
    }
    for (auto* child = element->FirstChildElement(); child != nullptr;
         child = child->NextSiblingElement()) {
        if (auto* found = FindElementWithAttribute(child, attribute, value)) {
            return found;
        }
    }
    return nullptr;
}

bool updateConfigItemInVclXml(tinyxml2::XMLDocument& document, const char* dataItem,
                              const char* itemName, const char* value) {
    auto* root = document.FirstChildElement("vcl:VCL");
    auto* item = FindElementWithAttribute(root, "type", dataItem);
    auto* setting = FindElementWithAttribute(item, "name", itemName);
    if (setting == nullptr) {
        return false;
    }
    setting->SetAttribute("value", value);
    return true;
}

}  // namespace VICTORY
