// In how many pieces a stream came.
#pragma once

#include <cstdint>

namespace crateTest {

struct ReceivedSegments {
    uint64_t segments = 0;
    uint64_t bytes = 0;
};

// Of a TCP connection, since it was made.
ReceivedSegments receivedSegments(int descriptor);

} // namespace crateTest
