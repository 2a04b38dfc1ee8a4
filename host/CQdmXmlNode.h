#pragma once

#include <memory>
#include <string>
#include <utility>
#include <vector>

/// One element of a document that CQdmXmlWrite writes.
class CQdmXmlNode {
public:
    CQdmXmlNode(std::string name);
    CQdmXmlNode(const CQdmXmlNode&);

    /// Replaces the value of an attribute of the same name; a new one is placed behind those there
    /// are.
    void addAttribute(std::string name, std::string value);

    /// Appends a copy of `child` as it stands now.
    void addChildNode(const CQdmXmlNode& child);

    void clearAttribute();

private:
    friend class CQdmXmlWrite;

    std::string name;
    std::vector<std::pair<std::string, std::string>> attributes;
    // A child never changes, so copies of a node share theirs.
    std::vector<std::shared_ptr<const CQdmXmlNode>> children;
};
