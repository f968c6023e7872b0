// How far the reading of the crate is, in one line for an operator at a terminal.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <string>

struct ZANTOReadingState {
    int32_t slot = -1;    // -1: none yet
    int32_t channel = -1; // -1: the board itself
    uint32_t parameters = 0;
    uint32_t channelsRead = 0;
    uint32_t channels = 0; // of all boards
};

// "about 2 min left"
std::string ZANTOTimeLeftText(std::chrono::seconds left);
// The whole line, without a time left until a channel has been read.
std::string ZANTOReadingText(const ZANTOReadingState &state, std::chrono::milliseconds elapsed);

// Shows the line while the crate is being read, for a scope; for one thread, one at a time.
//
// It is written to the terminal behind `descriptor` through a non-blocking descriptor of its own:
// nothing here waits for a terminal that is stopped or full. There is no line without such a
// terminal, on one that cannot erase (TERM is unset or "dumb"), while messages from DEBUG 1 on go
// to a terminal, in the background, and in the first half second.
class ZANTOReadingProgress {
public:
    explicit ZANTOReadingProgress(int descriptor);
    ~ZANTOReadingProgress();
    ZANTOReadingProgress(const ZANTOReadingProgress &) = delete;
    ZANTOReadingProgress &operator=(const ZANTOReadingProgress &) = delete;

    void expectChannels(uint32_t count) { m_state.channels += count; }
    void moveTo(int32_t slot, int32_t channel = -1);
    void parameterRead();
    void channelRead() { ++m_state.channelsRead; }

private:
    ZANTOReadingState m_state;
    bool m_shown = false; // there is a terminal for it
    std::chrono::steady_clock::time_point m_begin;
    std::chrono::steady_clock::time_point m_next; // showing, not before
};

// Wipes the line if it stands there. Any thread; does not block.
void ZANTOWipeProgress();
