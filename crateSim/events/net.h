// The networking library in the form that the daemon uses it.
#pragma once

#ifndef ASIO_STANDALONE
#define ASIO_STANDALONE
#endif
#include <asio.hpp>

namespace sim {

using Tcp = asio::ip::tcp;
using Error = asio::error_code;

} // namespace sim
