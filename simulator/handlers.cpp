#include "simulator/handlers.h"

#include <map>

namespace kestrine::simulator {

const Handler* find_handler(std::int32_t command) {
  static const auto by_command = [] {
    std::map<std::int32_t, const Handler*> all;
    for (const auto& group : {status_handlers(), device_handlers(), motion_handlers(), measurement_handlers(),
                              list_handlers(), probe_handlers(), computation_handlers(), transformation_handlers(),
                              compensation_handlers(), inclination_handlers()}) {
      for (const Handler& handler : group) all.emplace(handler.command, &handler);
    }
    return all;
  }();
  const auto found = by_command.find(command);
  return found == by_command.end() ? nullptr : found->second;
}

}  // namespace kestrine::simulator
