// Shows where the reflector is until a line comes on standard input. The loop is the program's own poll(), which waits
// for the library beside everything else: poll_loop HOST PORT
#include <poll.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>

#include "kestrine/kestrine.h"

namespace {

class Position final : public kestrine::SyncEvents {
 public:
  void ReflectorPositionData(double val1, double val2, double val3) override {
    std::printf("%10.6f %10.6f %10.6f\n", val1, val2, val3);
    std::fflush(stdout);
  }
};

}  // namespace

int main(int argc, char** argv) try {
  if (argc != 3) return std::fprintf(stderr, "usage: poll_loop HOST PORT\n"), 2;
  kestrine::host::set_behaviour(kestrine::host::Behaviour::kModern);
  const auto connection = kestrine::create<ILTConnect>(CLSID_LTConnect);
  kestrine::check(connection->ConnectEmbeddedSystem(kestrine::Text(argv[1]), std::atoi(argv[2])));
  const auto tracker = kestrine::command_sync(*connection);
  const auto position = kestrine::Pointer<Position>::adopt(new Position);
  const kestrine::Subscription subscription(*tracker, DIID__ILTCommandSyncEvents, *position);

  kestrine::check(tracker->Initialize());
  SystemSettingsDataT settings;
  kestrine::check(tracker->GetSystemSettingsEx(&settings));
  settings.bSendReflectorPositionData = 1;
  kestrine::check(tracker->SetSystemSettingsEx(settings));

  pollfd waits_for[] = {{STDIN_FILENO, POLLIN, 0}, {kestrine::host::fd(), POLLIN, 0}};
  while (poll(waits_for, 2, -1) >= 0 && waits_for[0].revents == 0) kestrine::host::dispatch();
} catch (const kestrine::Error& error) {
  return std::fprintf(stderr, "%s (error %d)\n", error.what(), error.number()), 1;
}
