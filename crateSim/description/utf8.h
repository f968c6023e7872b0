// Texts that may or may not be UTF-8.
#pragma once

#include <string>
#include <string_view>

namespace sim {

// Bytes of the character that the text begins with; 0 when that is none, or the
// text is empty.
size_t utf8Length(std::string_view text);

} // namespace sim
