#include "widgets.h"

#include <algorithm>
#include <sstream>

#include "statesymbols.h"

namespace site {

namespace {

constexpr int margin = 10;

pugi::xml_node kindOf(const char *kind)
{
    static const pugi::xml_document kinds = [] {
        pugi::xml_document read;
        read.load_buffer(widgetKinds().data(), widgetKinds().size());
        return read;
    }();
    return kinds.child("widgets").find_child_by_attribute("kind", kind);
}

void fill(pugi::xml_node node, const Texts &values)
{
    const auto value = std::find_if(values.begin(), values.end(), [&](const auto &each) {
        return node.value() == "@" + each.first;
    });
    if (value != values.end())
        node.set_value(value->second.c_str());
    for (pugi::xml_node child : node.children())
        fill(child, values);
}

} // namespace

Screen::Screen(const std::string &title) : m_display(m_document.append_child("display"))
{
    m_display.append_attribute("version") = "2.0.0";
    putElements(m_display, {{"name", title}});
}

pugi::xml_node Screen::add(const char *kind, const Box &box, const Texts &values)
{
    m_right = std::max(m_right, box.x + box.width);
    m_bottom = std::max(m_bottom, box.y + box.height);
    pugi::xml_node widget = m_display.append_copy(kindOf(kind));
    widget.remove_attribute("kind");
    fill(widget, values);
    putElements(widget, {{"x", std::to_string(box.x)},
                         {"y", std::to_string(box.y)},
                         {"width", std::to_string(box.width)},
                         {"height", std::to_string(box.height)}});
    if (pugi::xml_node files = widget.child("symbols"))
        for (const OutputFile &each : symbols())
            putElements(files, {{"symbol", each.path}});
    return widget;
}

void Screen::addLink(const char *kind, const Box &box, Texts values, const Link &link)
{
    values.emplace_back("file", link.file);
    pugi::xml_node action = add(kind, box, values).child("actions").child("action");
    if (!link.macros.empty())
        putElements(action.append_child("macros"), link.macros);
}

std::string Screen::xml()
{
    putElements(m_display, {{"width", std::to_string(m_right + margin)},
                            {"height", std::to_string(m_bottom + margin)}});
    return xmlText(m_document);
}

void putElements(pugi::xml_node node, const Texts &elements)
{
    for (const auto &[name, text] : elements)
        node.append_child(name.c_str()).text().set(text.c_str());
}

std::string xmlText(const pugi::xml_document &document)
{
    std::ostringstream text;
    document.save(text, "  ");
    return text.str();
}

} // namespace site
