#include "ZANTOtypes.h"

std::atomic<int16_t> DEBUG{0};
std::atomic<int32_t> tcpPort{5180};
ZANTOTreeRoot systemNode;
