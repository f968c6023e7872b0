#include "screen.h"

#include <algorithm>
#include <chrono>
#include <clocale>
#include <csignal>
#include <cstdlib>
#include <fmt/format.h>
#include <unistd.h>

#define NCURSES_NOMACROS 1
#include <curses.h>

#include "problem.h"

namespace sim::ctl {

namespace {

constexpr auto refreshTime = std::chrono::milliseconds(200);
constexpr size_t sideStep = 8;

volatile std::sig_atomic_t endingSignal = 0;

extern "C" void noteSignal(int number) { endingSignal = number; }

// From now on the signals that end a program are noted: the terminal is restored first.
void noteEndingSignals()
{
    struct sigaction action {};
    action.sa_handler = noteSignal; // no SA_RESTART: waiting for a key ends
    for (const int number : {SIGINT, SIGTERM, SIGHUP})
        sigaction(number, &action, nullptr);
}

// The terminal while curses has it.
class Terminal {
public:
    Terminal()
    {
        std::setlocale(LC_CTYPE, "");
        m_screen = newterm(nullptr, stdout, stdin);
        if (m_screen == nullptr) {
            const char *name = std::getenv("TERM");
            throw Problem(fmt::format("--live cannot use a terminal of type \"{}\"",
                                      name != nullptr ? name : ""));
        }
        cbreak();
        noecho();
        curs_set(0);
        keypad(stdscr, true);
        set_escdelay(50);
        startColours();
    }
    ~Terminal()
    {
        endwin();
        delscreen(m_screen);
    }
    Terminal(const Terminal &) = delete;
    Terminal &operator=(const Terminal &) = delete;

    size_t height() const { return static_cast<size_t>(std::max(0, getmaxy(stdscr))); }
    size_t width() const { return static_cast<size_t>(std::max(0, getmaxx(stdscr))); }

    // ERR when none was pressed in that time, or a signal came.
    int key(std::chrono::milliseconds patience) const
    {
        wtimeout(stdscr, static_cast<int>(patience.count()));
        return wgetch(stdscr);
    }

    void print(size_t row, size_t from, const Line &line) const
    {
        if (row >= height())
            return;
        const auto attributes = attributesOf(line.tone);
        const std::string text = suitable(visiblePart(line.text, from, width()));
        wattr_on(stdscr, attributes, nullptr);
        mvwaddstr(stdscr, static_cast<int>(row), 0, text.c_str());
        wattr_off(stdscr, attributes, nullptr);
    }

private:
    void startColours()
    {
        m_colours = std::getenv("NO_COLOR") == nullptr && has_colors() && start_color() == OK &&
                    use_default_colors() == OK;
        if (!m_colours)
            return;
        init_pair(colourOn, COLOR_GREEN, -1);
        init_pair(colourRamping, COLOR_YELLOW, -1);
        init_pair(colourTripped, COLOR_RED, -1);
    }

    attr_t attributesOf(Tone tone) const
    {
        const auto pair = [this](short number) {
            return m_colours ? static_cast<attr_t>(COLOR_PAIR(number)) : A_NORMAL;
        };
        switch (tone) {
        case Tone::Heading: return A_BOLD;
        case Tone::Absent: return A_DIM;
        case Tone::On: return pair(colourOn);
        case Tone::Ramping: return pair(colourRamping);
        case Tone::Tripped: return pair(colourTripped) | A_BOLD;
        case Tone::Plain: break;
        }
        return A_NORMAL;
    }

    // Letters that the terminal's character set may not have.
    static std::string suitable(std::string text)
    {
        if (MB_CUR_MAX > 1)
            return text;
        for (char &letter : text)
            letter = static_cast<unsigned char>(letter) < 0x80 ? letter : '?';
        return text;
    }

    static constexpr short colourOn = 1;
    static constexpr short colourRamping = 2;
    static constexpr short colourTripped = 3;

    SCREEN *m_screen = nullptr;
    bool m_colours = false;
};

// What is shown: the head stays, the body scrolls.
struct Page {
    std::vector<Line> head;
    std::vector<Line> body;
};

Page pageOf(const View &view)
{
    Page page;
    for (const auto &title : view.titles)
        page.head.push_back({title, Tone::Plain});
    page.head.push_back({});
    const auto main = linesOf(view.main);
    page.head.push_back(main.front());
    page.body.assign(main.begin() + 1, main.end());
    const auto more = linesOf(view.more);
    if (!more.empty())
        page.body.push_back({});
    page.body.insert(page.body.end(), more.begin(), more.end());
    return page;
}

class Scroll {
public:
    // Nothing happens for keys that are none of its own.
    void press(int key, size_t height)
    {
        switch (key) {
        case KEY_UP: m_top -= std::min<size_t>(m_top, 1); break;
        case KEY_DOWN: ++m_top; break;
        case KEY_PPAGE: m_top -= std::min(m_top, height); break;
        case KEY_NPAGE: m_top += height; break;
        case KEY_HOME: m_top = m_left = 0; break;
        case KEY_END: m_top = SIZE_MAX; break;
        case KEY_LEFT: m_left -= std::min(m_left, sideStep); break;
        case KEY_RIGHT: m_left += sideStep; break;
        default: break;
        }
    }

    void fit(const Page &page, size_t height, size_t width)
    {
        size_t widest = 0;
        for (const auto *lines : {&page.head, &page.body})
            for (const auto &line : *lines)
                widest = std::max(widest, widthOf(line.text));
        m_top = clampedTop(m_top, page.body.size(), height);
        m_left = clampedTop(m_left, widest, width);
    }

    size_t top() const { return m_top; }
    size_t left() const { return m_left; }

private:
    size_t m_top = 0;
    size_t m_left = 0;
};

size_t bodyHeight(const Terminal &terminal, const Page &page)
{
    const size_t taken = page.head.size() + 1;
    return terminal.height() > taken ? terminal.height() - taken : 0;
}

void draw(const Terminal &terminal, const Page &page, Scroll &scroll)
{
    const size_t height = bodyHeight(terminal, page);
    scroll.fit(page, height, terminal.width());
    werase(stdscr);
    for (size_t row = 0; row < page.head.size(); ++row)
        terminal.print(row, scroll.left(), page.head[row]);
    const size_t end = std::min(page.body.size(), scroll.top() + height);
    for (size_t line = scroll.top(); line < end; ++line)
        terminal.print(page.head.size() + line - scroll.top(), scroll.left(), page.body[line]);
    if (terminal.height() > 0)
        terminal.print(terminal.height() - 1, 0,
                       {fmt::format("q: end   arrows, page keys: scroll   lines {}-{} of {}",
                                    std::min(end, scroll.top() + 1), end, page.body.size()),
                        Tone::Heading});
    wrefresh(stdscr);
}

// The first look comes before curses takes the terminal: what is wrong with the place is then
// still an ordinary message.
void watch(const std::function<View()> &look)
{
    using Clock = std::chrono::steady_clock;
    Page page = pageOf(look());
    const Terminal terminal;
    Scroll scroll;
    auto due = Clock::now() + refreshTime;
    while (endingSignal == 0) {
        draw(terminal, page, scroll);
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(due - Clock::now());
        const int key = terminal.key(std::max(left, std::chrono::milliseconds(0)));
        if (key == 'q' || key == 'Q')
            return;
        scroll.press(key, bodyHeight(terminal, page));
        if (Clock::now() < due)
            continue;
        page = pageOf(look());
        due = Clock::now() + refreshTime;
    }
}

} // namespace

int runLive(const std::function<View()> &look)
{
    if (isatty(STDOUT_FILENO) == 0 || isatty(STDIN_FILENO) == 0)
        throw Problem("--live needs a terminal as standard input and output;"
                      " without --live the table is printed once");
    noteEndingSignals();
    watch(look);
    return endingSignal;
}

} // namespace sim::ctl
