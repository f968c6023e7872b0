// A Phoebus display file, widget by widget.
#pragma once

#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <pugixml.hpp>

namespace site {

// Pixels from the screen's upper left corner.
struct Box {
    int x, y, width, height;
};

using Texts = std::vector<std::pair<std::string, std::string>>;

// A screen to open, beside the one that holds the link.
struct Link {
    std::string file;
    Texts macros;
};

class Screen {
public:
    explicit Screen(const std::string &title);

    // One of the kinds in widgets.xml, with what stands there with an at sign.
    pugi::xml_node add(const char *kind, const Box &box, const Texts &values);
    // One that opens another screen.
    void addLink(const char *kind, const Box &box, Texts values, const Link &link);

    // As large as what is on it.
    std::string xml();

private:
    pugi::xml_document m_document;
    pugi::xml_node m_display;
    int m_right = 0;
    int m_bottom = 0;
};

void putElements(pugi::xml_node node, const Texts &elements);

// With indentation and the line that says that it is XML.
std::string xmlText(const pugi::xml_document &document);

// The text of widgets.xml.
std::string_view widgetKinds();

} // namespace site
