#include "widgets.h"

#include <algorithm>
#include <map>
#include <sstream>

namespace site {

namespace {

constexpr int margin = 10;
constexpr int confirmBoth = 1; // switching on and off
constexpr int stepTrace = 2;

const char *versionOf(const std::string &type)
{
    if (type == "stripchart")
        return "2.1.0";
    return type == "action_button" || type == "textentry" ? "3.0.0" : "2.0.0";
}

// The desktop takes a site's own colour of that name, the web renderer the numbers.
void putColor(Widget widget, const char *property, const Texts &color)
{
    putAttributes(widget.node.append_child(property).append_child("color"), color);
}

} // namespace

Widget &Widget::set(const char *property, const std::string &value)
{
    putElements(node, {{property, value}});
    return *this;
}

Widget &Widget::set(const char *property, int value)
{
    return set(property, std::to_string(value));
}

Widget &Widget::flag(const char *property, bool value)
{
    return set(property, std::string(value ? "true" : "false"));
}

Widget &Widget::font(Font font)
{
    static const std::map<Font, std::pair<const char *, const char *>> fonts{
        {Font::Small, {"10.0", "REGULAR"}},
        {Font::Body, {"12.0", "REGULAR"}},
        {Font::Heading, {"14.0", "BOLD"}},
        {Font::Title, {"20.0", "BOLD"}},
    };
    const auto &[size, style] = fonts.at(font);
    putAttributes(node.append_child("font").append_child("font"),
                  {{"family", "Liberation Sans"}, {"style", style}, {"size", size}});
    return *this;
}

Widget &Widget::opens(const Link &link)
{
    pugi::xml_node action = node.append_child("actions").append_child("action");
    putAttributes(action, {{"type", "open_display"}});
    putElements(action, {{"file", link.file}, {"target", "replace"}});
    if (!link.macros.empty())
        putElements(action.append_child("macros"), link.macros);
    return *this;
}

Screen::Screen(const std::string &title) : m_display(m_document.append_child("display"))
{
    putAttributes(m_display, {{"version", "2.0.0"}});
    putElements(m_display, {{"name", title}});
}

Widget Screen::add(const std::string &type, const Box &box, const std::string &name)
{
    m_right = std::max(m_right, box.x + box.width);
    m_bottom = std::max(m_bottom, box.y + box.height);
    Widget widget(m_display.append_child("widget"));
    putAttributes(widget.node, {{"type", type}, {"version", versionOf(type)}});
    widget.set("name", name).set("x", box.x).set("y", box.y);
    return widget.set("width", box.width).set("height", box.height);
}

Widget Screen::addText(const char *type, const Box &box, const std::string &name)
{
    return add(type, box, name).set("vertical_alignment", 1).flag("wrap_words", false);
}

Widget Screen::label(const Box &box, const std::string &text, Font font)
{
    return addText("label", box, text).set("text", text).font(font);
}

Widget Screen::picture(const Box &box, const std::string &file)
{
    return add("picture", box, file).set("file", file);
}

Widget Screen::reading(const Box &box, const std::string &pv)
{
    Widget made = addText("textupdate", box, pv).set("pv_name", pv).font(Font::Body).center();
    putColor(made, "background_color",
             {{"name", "Read_Background"}, {"red", "240"}, {"green", "240"}, {"blue", "240"}});
    return made;
}

Widget Screen::led(const Box &box, const std::string &pv)
{
    return add("led", box, pv).set("pv_name", pv);
}

Widget Screen::entry(const Box &box, const std::string &pv)
{
    return add("textentry", box, pv).set("pv_name", pv).font(Font::Body);
}

Widget Screen::button(const Box &box, const std::string &text, const Link &link, Font font)
{
    return add("action_button", box, text).set("text", text).opens(link).font(font);
}

Widget Screen::command(const Box &box, const std::string &text, const std::string &pv,
                       const std::string &value, const std::string &question)
{
    Widget made = add("action_button", box, text).set("text", text).font(Font::Body);
    pugi::xml_node action = made.node.append_child("actions").append_child("action");
    putAttributes(action, {{"type", "write_pv"}});
    putElements(action, {{"pv_name", pv}, {"value", value}, {"description", text}});
    if (!question.empty())
        made.flag("show_confirm_dialog", true).set("confirm_message", question);
    return made;
}

Widget Screen::toggle(const Box &box, const std::string &pv, const std::string &question)
{
    Widget made = add("bool_button", box, pv).set("pv_name", pv).font(Font::Body);
    made.flag("labels_from_pv", true).set("mode", 0);
    return made.set("show_confirm_dialog", confirmBoth).set("confirm_message", question);
}

Widget Screen::symbol(const Box &box, const std::string &pv, const std::vector<std::string> &files)
{
    Widget made = add("symbol", box, pv).set("pv_name", pv);
    made.set("initial_index", static_cast<int>(files.size()) - 1);
    Widget symbols(made.node.append_child("symbols"));
    for (const std::string &file : files)
        symbols.set("symbol", file);
    return made;
}

Widget Screen::chart(const Box &box, const Texts &traces)
{
    const Texts blue{{"red", "0"}, {"green", "90"}, {"blue", "200"}};
    const Texts orange{{"red", "200"}, {"green", "80"}, {"blue", "0"}};
    Widget made = add("stripchart", box, "Trend").set("start", std::string("10 minutes"));
    pugi::xml_node axisList = made.node.append_child("y_axes");
    pugi::xml_node traceList = made.node.append_child("traces");
    for (size_t at = 0; at < traces.size(); at++) {
        Widget axis(axisList.append_child("y_axis"));
        axis.set("title", traces[at].first).flag("autoscale", true).flag("on_right", at > 0);
        Widget trace(traceList.append_child("trace"));
        trace.set("name", traces[at].first).set("y_pv", traces[at].second);
        trace.set("axis", static_cast<int>(at)).set("trace_type", stepTrace);
        for (const Widget &each : {axis, trace})
            putColor(each, "color", at == 0 ? blue : orange);
    }
    return made;
}

std::string Screen::xml()
{
    Widget(m_display).set("width", m_right + margin).set("height", m_bottom + margin);
    return xmlText(m_document);
}

void putElements(pugi::xml_node node, const Texts &elements)
{
    for (const auto &[name, text] : elements)
        node.append_child(name.c_str()).text().set(text.c_str());
}

void putAttributes(pugi::xml_node node, const Texts &attributes)
{
    for (const auto &[name, text] : attributes)
        node.append_attribute(name.c_str()) = text.c_str();
}

std::string xmlText(const pugi::xml_document &document)
{
    std::ostringstream text;
    document.save(text, "  ");
    return text.str();
}

} // namespace site
