#include "sitefile.h"

#include <regex>

#include "description/channelset.h"
#include "description/document.h"
#include "pvlist/names.h"

namespace site {

namespace {

using sim::Field;
using sim::Fields;

// One of the two, or nothing.
std::string wordOf(const Field &field, const std::string &first, const std::string &second)
{
    const auto word = field.text();
    if (word && *word != first && *word != second)
        field.report("\"" + field.name() + "\" is neither " + first + " nor " + second);
    return word.value_or("");
}

std::map<std::string, std::string> readRoles(const Field &field)
{
    std::map<std::string, std::string> names;
    Fields fields(field, "the parameters");
    for (const RoleWords &each : roleWords)
        names[each.key] = fields.optional(each.key).text().value_or(each.usual);
    fields.finish();
    return names;
}

// In an access file nothing can be escaped, and a number or a word of its own is no name.
void checkAccessName(const Field &field, const std::string &text)
{
    static const std::regex name("[A-Za-z0-9_+:.<>;[\\]-]+");
    static const std::regex word("[0-9]+|UAG|HAG|ASG|RULE|CALC|INP[A-Z]");
    if (text.size() > longestGroupName || !std::regex_match(text, name) ||
        std::regex_match(text, word))
        field.report("\"" + printable(text) + "\" cannot be a name in an access file");
}

std::vector<std::string> readNames(const Field &list)
{
    std::vector<std::string> names;
    for (const auto &item : list.items())
        if (const auto name = item.text()) {
            checkAccessName(item, *name);
            names.push_back(*name);
        }
    return names;
}

// Lists or groups by their names.
template <class Read> auto readNamed(const Field &field, const Read &read)
{
    std::map<std::string, decltype(read(field))> all;
    for (const auto &entry : field.entries()) {
        checkAccessName(entry, entry.name());
        all[entry.name()] = read(entry);
    }
    return all;
}

// Those of the lists that the group names.
std::vector<std::string> readMembers(const Field &field, const NameLists &known)
{
    auto names = readNames(field);
    for (const auto &name : names)
        if (known.count(name) == 0)
            field.report("no list of " + field.name() + " is called \"" + printable(name) + "\"");
    return names;
}

AccessGroup readGroup(const Field &field, const SiteFile &file)
{
    if (field.name() == "DEFAULT")
        field.report("group DEFAULT is that of all records that no group is given");
    AccessGroup group;
    Fields fields(field, "an access group");
    group.users = readMembers(fields.optional("users"), file.users);
    group.hosts = readMembers(fields.optional("hosts"), file.hosts);
    group.allFields = wordOf(fields.optional("fields"), "values", "all") == "all";
    fields.finish();
    return group;
}

void readAccess(const Field &field, SiteFile &file)
{
    Fields fields(field, "the access rights");
    file.users = readNamed(fields.optional("users"), readNames);
    file.hosts = readNamed(fields.optional("hosts"), readNames);
    const auto groups = fields.optional("groups");
    fields.finish();
    file.groups = readNamed(groups, [&](const Field &each) { return readGroup(each, file); });
}

std::vector<CrateEntry> readCrates(const Field &list)
{
    std::vector<CrateEntry> crates;
    for (const auto &item : list.items()) {
        Fields fields(item, "a crate");
        const Field name = fields.required("name");
        const CrateEntry crate{item.line(), name.text().value_or(""),
                               fields.optional("description").text().value_or("")};
        fields.finish();
        if (name.isPresent() && !isCrateName(crate.name))
            name.report("\"" + printable(crate.name) + "\" cannot be the name of a crate");
        for (const CrateEntry &each : crates)
            if (each.name == crate.name)
                item.report("crate \"" + each.name + "\" is in line " + std::to_string(each.line) +
                            " already");
        crates.push_back(crate);
    }
    return crates;
}

void read(const Field &document, SiteFile &file)
{
    Fields fields(document, "the site");
    file.title = fields.required("site").text().value_or("");
    file.stale = wordOf(fields.optional("stale"), "INVALID", "keep") == "INVALID";
    file.crates = readCrates(fields.required("crates"));
    file.parameters = readRoles(fields.optional("parameters"));
    readAccess(fields.optional("access"), file);
    file.defaults = readEntry(fields.optional("defaults"), EntryKind::Defaults);
    for (const auto &[key, kind] :
         {std::pair("channels", EntryKind::Channels), std::pair("boards", EntryKind::Boards),
          std::pair("system", EntryKind::System)})
        for (const auto &item : fields.optional(key).items())
            file.entries.push_back(readEntry(item, kind));
    fields.finish();
}

} // namespace

SiteReading readSite(const std::string &yaml)
{
    SiteReading reading;
    sim::Findings findings;
    try {
        const auto document = sim::loadYaml(yaml, findings);
        if (document)
            read({*document, 1, "", "", findings}, reading.file);
    } catch (const sim::TooMuchToRead &error) {
        findings.add(0, "", error.what());
    }
    reading.findings = findings.take();
    return reading;
}

} // namespace site
