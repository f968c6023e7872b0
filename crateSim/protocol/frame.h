// Framing of the stream between the access library and the crate: 4 bytes of
// magic, 4 bytes of payload length (big endian), payload. The same frames carry
// calls, answers and events. Pure functions; no I/O.
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <stdexcept>
#include <string>
#include <string_view>

namespace sim::wire {

constexpr std::array<unsigned char, 4> magic = {'Z', 'C', 'F', '1'};
constexpr size_t headerSize = 8;
constexpr uint32_t maxPayload = 16u << 20;

using Header = std::array<unsigned char, headerSize>;

// The peer does not speak this protocol, or not well.
class BadFrame : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

inline Header makeHeader(size_t payload)
{
    if (payload > maxPayload)
        throw BadFrame("the payload is too long");
    Header header{};
    for (size_t index = 0; index < magic.size(); ++index)
        header[index] = magic[index];
    for (size_t index = 0; index < 4; ++index)
        header[4 + index] = static_cast<unsigned char>(payload >> (24 - 8 * index));
    return header;
}

// The first bytes of a stream, of which there have to be enough.
inline Header headerOf(std::string_view bytes)
{
    Header header{};
    std::copy_n(bytes.begin(), header.size(), header.begin());
    return header;
}

// Judges the bytes received so far, so that a peer that speaks something else is detected at its
// first wrong byte.
inline bool isHeaderStart(const Header &header, size_t received)
{
    for (size_t index = 0; index < magic.size() && index < received; ++index)
        if (header[index] != magic[index])
            return false;
    return true;
}

// The payload length of a complete header.
inline uint32_t payloadLength(const Header &header)
{
    if (!isHeaderStart(header, headerSize))
        throw BadFrame("this is not a frame");
    uint32_t length = 0;
    for (size_t index = 4; index < headerSize; ++index)
        length = length << 8 | header[index];
    if (length > maxPayload)
        throw BadFrame("the frame is too long");
    return length;
}

// A whole frame around a payload.
inline std::string makeFrame(const char *payload, size_t length)
{
    const Header header = makeHeader(length);
    std::string frame(header.begin(), header.end());
    return frame.append(payload, length);
}

} // namespace sim::wire
