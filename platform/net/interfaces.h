// The addresses of the machine's own network interfaces.
#pragma once

#include <cstdint>
#include <vector>

/// The IPv4 addresses that the machine's own name stands for, in network byte order and in the resolver's order; empty
/// when the system does not tell. Blocks while the resolver is asked. The socket layer must have been started.
std::vector<uint32_t> LocalAddresses();
