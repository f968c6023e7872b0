// A YAML document as a tree that knows its lines.
#pragma once

#include <cstdint>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace sim {

// Something that is wrong in a file.
struct Finding {
    int line = 0;     // from 1; 0: the file as a whole
    std::string text; // for people
};

struct YamlNode;
using YamlPointer = std::shared_ptr<const YamlNode>; // shared by aliases; never null

struct YamlEntry {
    std::string key;
    int line = 0;
    YamlPointer value;
};

struct YamlNode {
    enum class Kind : uint8_t { Null, Scalar, List, Map };

    Kind kind = Kind::Null;
    bool plain = false; // a scalar written without quotes, which may be a number
    int line = 0;
    int height = 0;                 // levels below it
    std::string text;               // of a scalar, as written
    std::vector<YamlPointer> items; // of a list
    std::vector<YamlEntry> entries; // of a map: each key once, merged ones last
};

// The largest text that is read, in bytes.
constexpr size_t maxYamlSize = 8 << 20;

// The only document of a text, or null when there is none to go by. Adds what is
// wrong with it as YAML. Bounded in memory and time whatever the text.
YamlPointer readYaml(const std::string &text, std::vector<Finding> &findings);

// "a list", "a text" ... for messages.
std::string_view kindText(const YamlNode &node);

} // namespace sim
