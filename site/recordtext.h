// The text of one record of a database file.
#pragma once

#include <string>
#include <string_view>

#include "pvlist/names.h"

namespace site {

class RecordText {
public:
    RecordText(std::string_view type, std::string_view name)
        : m_head("record(" + std::string(type) + ", " + quotedForDatabase(name) + ") {\n")
    {
    }

    RecordText &field(std::string_view name, std::string_view value)
    {
        return add("field(" + std::string(name) + ", " + quotedForDatabase(value) + ")");
    }

    RecordText &alias(std::string_view name)
    {
        return add("alias(" + quotedForDatabase(name) + ")");
    }

    RecordText &info(std::string_view name, std::string_view value)
    {
        return add("info(" + std::string(name) + ", " + quotedForDatabase(value) + ")");
    }

    // A line as it stands.
    RecordText &add(const std::string &line)
    {
        m_body += "    " + line + "\n";
        return *this;
    }

    // Empty when nothing was added.
    std::string text() const { return m_body.empty() ? "" : m_head + m_body + "}\n"; }

private:
    std::string m_head;
    std::string m_body;
};

} // namespace site
