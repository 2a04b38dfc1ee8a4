#pragma once

#include <string>
#include <vector>

/// Severities and texts of the operator messages: an INI file with one section a message,
/// `severity`
/// ("error", "warning" or "information") and `text`, in which {0} stands for the first insert.
class MessageCatalogue {
public:
    /// Reads a catalogue; one that is missing or damaged gives no texts.
    explicit MessageCatalogue(const std::string& file);

    /// The catalogue beside this library: <folder of the library>/../share/messages.ini.
    static const MessageCatalogue& Installed();

    /// "error" where the catalogue tells none.
    [[nodiscard]] std::string Severity(const std::string& id) const;

    /// The text with the inserts in place; where the catalogue has none, the inserts alone.
    [[nodiscard]] std::string Text(const std::string& id,
                                   const std::vector<std::string>& inserts) const;

private:
    std::string content;
};
