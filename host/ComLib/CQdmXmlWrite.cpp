#include "host/CQdmXmlWrite.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <pugixml.hpp>
#include <string>

#include "host/CTraceUtility.h"
#include "host/ComLib/WholeFile.h"
#include "host/ComLib/XmlText.h"

namespace {

struct TextWriter : pugi::xml_writer {
    void write(const void* data, std::size_t size) override {
        text.append(static_cast<const char*>(data), size);
    }
    std::string text;
};

}  // namespace

bool CQdmXmlWrite::writeXML(std::string path, CQdmXmlNode root) {
    pugi::xml_document document;
    bool sound = true;
    std::vector<std::pair<const CQdmXmlNode*, pugi::xml_node>> open;
    const auto append = [&](pugi::xml_node parent, const CQdmXmlNode& node) {
        sound = sound && IsXmlName(node.name);
        pugi::xml_node element = parent.append_child(node.name.c_str());
        for (const auto& [name, value] : node.attributes) {
            sound = sound && IsXmlName(name);
            element.append_attribute(name.c_str()).set_value(XmlText(value).c_str());
        }
        open.emplace_back(&node, element);
    };
    pugi::xml_node declaration = document.append_child(pugi::node_declaration);
    declaration.append_attribute("version") = "1.0";
    declaration.append_attribute("encoding") = "UTF-8";
    append(document, root);
    while (!open.empty()) {
        const auto [node, element] = open.back();
        open.pop_back();
        for (const auto& child : node->children) {
            append(element, *child);
        }
    }
    TextWriter writer;
    document.save(writer, "  ", pugi::format_default, pugi::encoding_utf8);
    errno = EINVAL;
    if (!sound || !ReplaceFile(path, writer.text)) {
        CTraceUtility::WriteDebug("host", CTraceUtility::TRACE_DBG_ERROR,
                                  "Document not written (%s): %s", std::strerror(errno),
                                  path.c_str());
        return false;
    }
    return true;
}
