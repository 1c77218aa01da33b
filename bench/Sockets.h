// Connections to local sockets.

#ifndef HALVORIX_BENCH_SOCKETS_H
#define HALVORIX_BENCH_SOCKETS_H

#include <string>

// Connects to a socket with this path. Returns the descriptor, which no program inherits, or -1.
int ConnectTo(const std::string& path);

// The same, again and again until somebody listens there.
int ConnectWhenItListens(const std::string& path);

#endif
