/** Edits of the VCL, the XML document that holds the periods of the VICTORY reports. */
#pragma once

#include <tinyxml2.h>

namespace VICTORY {

/** The first element that has `attribute` with exactly `value`: `element` itself, then its children
 *  in document order, depth first. Null when there is none, or for a null `element`. Bounded in
 *  stack by the depth that the XML parser lets through.
 */
tinyxml2::XMLElement* FindElementWithAttribute(tinyxml2::XMLElement* element, const char* attribute,
                                               const char* value);

/** Sets the attribute `value` of the item `itemName` of `dataItem` below the root `vcl:VCL`.
 *  @return false, with nothing changed, when the document has no such item
 */
bool updateConfigItemInVclXml(tinyxml2::XMLDocument& document, const char* dataItem,
                              const char* itemName, const char* value);

}  // namespace VICTORY
