#include "utf8.h"

#include <cstdint>

namespace sim {

namespace {

struct Form {
    unsigned char mask;
    unsigned char lead;
    size_t length;
    uint32_t smallest; // below it the form is longer than need be
};

constexpr Form forms[] = {
    {0x80, 0x00, 1, 0},
    {0xe0, 0xc0, 2, 0x80},
    {0xf0, 0xe0, 3, 0x800},
    {0xf8, 0xf0, 4, 0x10000},
};

bool isCharacter(uint32_t code) { return code <= 0x10ffff && (code < 0xd800 || code > 0xdfff); }

} // namespace

size_t utf8Length(std::string_view text)
{
    if (text.empty())
        return 0;
    const auto first = static_cast<unsigned char>(text[0]);
    for (const auto &form : forms) {
        if ((first & form.mask) != form.lead)
            continue;
        uint32_t code = first & static_cast<unsigned char>(~form.mask);
        for (size_t index = 1; index < form.length; ++index) {
            if (index >= text.size() || (text[index] & 0xc0) != 0x80)
                return 0;
            code = code << 6 | (text[index] & 0x3f);
        }
        return code >= form.smallest && isCharacter(code) ? form.length : 0;
    }
    return 0;
}

} // namespace sim
