// A Phoebus display file, widget by widget: only what the desktop and the web renderer both show.
// What is not set has the program's default.
#pragma once

#include <string>
#include <utility>
#include <vector>

#include <pugixml.hpp>

namespace site {

// Pixels from the screen's upper left corner.
struct Box {
    int x, y, width, height;
};

enum class Font { Small, Body, Heading, Title };

using Texts = std::vector<std::pair<std::string, std::string>>;

// A screen to open, beside the one that holds the link.
struct Link {
    std::string file;
    Texts macros;
};

// Property names are those of the file format. Setters return the widget itself.
class Widget {
public:
    explicit Widget(pugi::xml_node node) : node(node) {}

    Widget &set(const char *property, const std::string &value);
    Widget &set(const char *property, int value);
    Widget &flag(const char *property, bool value);
    Widget &font(Font font);
    Widget &center() { return set("horizontal_alignment", 1); }
    // When it is clicked.
    Widget &opens(const Link &link);

    pugi::xml_node node;
};

class Screen {
public:
    explicit Screen(const std::string &title);

    Widget label(const Box &box, const std::string &text, Font font = Font::Body);
    Widget picture(const Box &box, const std::string &file);
    // Value, unit and alarm of a record, with the record's own number of decimals.
    Widget reading(const Box &box, const std::string &pv);
    Widget led(const Box &box, const std::string &pv);
    Widget entry(const Box &box, const std::string &pv);
    Widget button(const Box &box, const std::string &text, const Link &link,
                  Font font = Font::Body);
    // Writes the value; asks the question before, unless that is empty.
    Widget command(const Box &box, const std::string &text, const std::string &pv,
                   const std::string &value, const std::string &question);
    // Shows and changes a switch, and asks before.
    Widget toggle(const Box &box, const std::string &pv, const std::string &question);
    // One of the files, by the record's number; the last one while there is none.
    Widget symbol(const Box &box, const std::string &pv, const std::vector<std::string> &files);
    // Names and records of one trace or two: the second one has its axis on the right.
    Widget chart(const Box &box, const Texts &traces);

    // As large as what is on it.
    std::string xml();

private:
    Widget add(const std::string &type, const Box &box, const std::string &name);
    Widget addText(const char *type, const Box &box, const std::string &name);

    pugi::xml_document m_document;
    pugi::xml_node m_display;
    int m_right = 0;
    int m_bottom = 0;
};

void putElements(pugi::xml_node node, const Texts &elements);
void putAttributes(pugi::xml_node node, const Texts &attributes);

// With indentation and the line that says that it is XML.
std::string xmlText(const pugi::xml_document &document);

} // namespace site
