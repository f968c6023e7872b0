// The limit's start-up files: the very texts that the server writes, formatted one after
// another into one buffer each.
#pragma once

#include "limitTree.h"

#include <cstddef>
#include <vector>

// Grows as a file would.
class TextBuffer {
public:
    TextBuffer() : m_text(1 << 16) {}

    void add(const char *format, ...) __attribute__((format(printf, 2, 3)));
    std::size_t size() const { return m_size; }
    // False when the file cannot be written as a whole.
    bool write(const char *path) const;

private:
    std::vector<char> m_text;
    std::size_t m_size = 0;
};

// What the records of a node show besides its value.
struct LimitDetails {
    float lowest = -1.0F;
    float highest = -1.0F;
    int decimals = -1;
    char unit[32] = "";
    char on[32] = "";
    char off[32] = "";
};

void limitAddRecords(TextBuffer &text, const LimitNode &node, const LimitDetails &details);
void limitAddPvLine(TextBuffer &text, const LimitNode &node);
