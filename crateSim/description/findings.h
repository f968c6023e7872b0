// What is wrong in a description, collected while it is read.
#pragma once

#include <map>
#include <set>
#include <stdexcept>
#include <string>
#include <vector>

namespace sim {

// Something that is wrong in a file.
struct Finding {
    int line = 0;     // from 1; 0: the file as a whole
    std::string text; // for people
};

// Aliases can make a small text endless to read.
class TooMuchToRead : public std::runtime_error {
public:
    TooMuchToRead() : std::runtime_error("too much to read") {}
};

// The paths are those of Problem::path. Of very many findings only the first are
// kept, and the number of the others.
class Findings {
public:
    void add(int line, const std::string &path, const std::string &text);

    // Whether something was found at exactly that path.
    bool isReported(const std::string &path) const { return m_reported.count(path) != 0; }

    void setLine(const std::string &path, int line) { m_lines.emplace(path, line); }
    bool hasLine(const std::string &path) const { return m_lines.count(path) != 0; }
    // Of the path or the nearest one above it that has a line; 0 when none has.
    int lineOf(std::string path) const;

    // Counts a value that is being looked at. Throws TooMuchToRead.
    void visit();

    // By line.
    std::vector<Finding> take();

private:
    std::vector<Finding> m_findings;
    size_t m_more = 0;
    size_t m_visits = 0;
    std::map<std::string, int> m_lines;
    std::set<std::string> m_reported;
    std::set<std::pair<int, std::string>> m_known;
};

} // namespace sim
