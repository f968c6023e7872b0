// The records of a database file that zantosite wrote.
#pragma once

#include <map>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

namespace siteTest {

struct Record {
    std::string type;
    std::map<std::string, std::string> fields;
    std::map<std::string, std::string> infos;
    std::vector<std::string> aliases;

    std::string field(const std::string &name) const
    {
        const auto found = fields.find(name);
        return found == fields.end() ? "" : found->second;
    }
};

using Records = std::map<std::string, Record>;

// Every line is one that a database file may have; throws otherwise, and for a record that stands
// there twice.
inline Records readRecords(const std::string &text)
{
    Records records;
    Record *current = nullptr;
    std::istringstream lines(text);
    const auto quoted = [](const std::string &line) {
        const auto first = line.find('"');
        return line.substr(first + 1, line.rfind('"') - first - 1);
    };
    for (std::string line; std::getline(lines, line);) {
        if (line.rfind("record(", 0) == 0) {
            const auto [place, isNew] = records.emplace(quoted(line), Record());
            if (!isNew)
                throw std::runtime_error("twice: " + line);
            current = &place->second;
            current->type = line.substr(7, line.find(',') - 7);
        } else if (line.rfind("    field(", 0) == 0) {
            current->fields[line.substr(10, line.find(',') - 10)] = quoted(line);
        } else if (line.rfind("    alias(", 0) == 0) {
            current->aliases.push_back(quoted(line));
        } else if (line.rfind("    info(", 0) == 0) {
            current->infos[line.substr(9, line.find(',') - 9)] = quoted(line);
        } else if (!line.empty() && line != "}" && line[0] != '#') {
            throw std::runtime_error(line);
        }
    }
    return records;
}

// The first word: the record and its field.
inline std::string targetOf(const std::string &link) { return link.substr(0, link.find(' ')); }

} // namespace siteTest
