// A text that is kept once however many nodes have it.
#pragma once

#include <string>
#include <string_view>

// The size of a pointer. What is kept is never changed and never freed: the names and labels of a
// crate are few and repeat in every channel. Not for values, which go on changing. Any thread
// may make, copy and read one.
class ZANTOSharedText {
public:
    // The empty text.
    ZANTOSharedText() noexcept = default;
    explicit ZANTOSharedText(std::string_view text) : m_text(keep(text)) {}

    // Stays valid as long as the process.
    const std::string &get() const noexcept { return m_text != nullptr ? *m_text : empty(); }

    bool operator==(const ZANTOSharedText &other) const noexcept { return m_text == other.m_text; }
    bool operator!=(const ZANTOSharedText &other) const noexcept { return m_text != other.m_text; }

private:
    static const std::string &empty() noexcept;
    static const std::string *keep(std::string_view text);

    const std::string *m_text = nullptr; // null: the empty text
};
