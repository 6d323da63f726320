// The server for benches in other languages, as a program: one port for each client, printed in a line, until its
// standard input ends.
#include <cstdio>
#include <cstdlib>
#include <deque>

#include "bench/server.h"

int main(int argc, char** argv) {
  if (argc != 3) return 2;
  const int clients = std::atoi(argv[1]);
  const auto positions = static_cast<std::size_t>(std::atoi(argv[2]));  // that follow a start of measurement
  kestrine::bench::pin_to_one_core();
  std::deque<kestrine::bench::Server> servers;
  for (int i = 0; i < clients; ++i) {
    servers.emplace_back(kestrine::bench::position_burst(positions));
    std::printf("%d ", servers.back().port());
  }
  std::printf("\n");
  std::fflush(stdout);
  while (std::getchar() != EOF) {
  }
  std::_Exit(0);  // clients may be connected still
}
