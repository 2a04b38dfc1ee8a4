#pragma once

#include "host/CQdmXmlNode.h"

#include <string>

/// Writes a document to a file, UTF-8, whole or not at all.
class CQdmXmlWrite {
public:
    bool writeXML(std::string path, CQdmXmlNode root);
};
