// What the server prints, for tests that look at it.
#pragma once

#include <cstdint>
#include <functional>
#include <string>

// Standard output for a scope, into memory: no file is made anywhere.
class StdoutCapture {
public:
    StdoutCapture();
    ~StdoutCapture();
    StdoutCapture(const StdoutCapture &) = delete;
    StdoutCapture &operator=(const StdoutCapture &) = delete;

    // Ends the capture.
    std::string text();

private:
    void restore();

    int m_memory;
    int m_stdout;
};

// What `action` prints at this debug level. Other threads' output is caught with it.
std::string printedAt(int16_t level, const std::function<void()> &action);
// `action` prints exactly `text` at debug level `from` and nothing at the level below.
void expectPrintedFrom(int16_t from, const std::string &text, const std::function<void()> &action);
