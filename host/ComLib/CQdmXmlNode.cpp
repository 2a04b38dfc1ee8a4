#include "host/CQdmXmlNode.h"

#include <algorithm>

CQdmXmlNode::CQdmXmlNode(std::string name) : name(std::move(name)) {}

CQdmXmlNode::CQdmXmlNode(const CQdmXmlNode&) = default;

void CQdmXmlNode::addAttribute(std::string name, std::string value) {
    const auto same = std::find_if(attributes.begin(), attributes.end(),
                                   [&name](const auto& known) { return known.first == name; });
    if (same != attributes.end()) {
        same->second = std::move(value);
    } else {
        attributes.emplace_back(std::move(name), std::move(value));
    }
}

void CQdmXmlNode::addChildNode(const CQdmXmlNode& child) {
    children.push_back(std::make_shared<const CQdmXmlNode>(child));
}

void CQdmXmlNode::clearAttribute() {
    attributes.clear();
}
