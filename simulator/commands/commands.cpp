#include "simulator/commands/commands.h"

#include <map>
#include <utility>

namespace kestrine::simulator {
namespace {

const Handler* find_handler(std::int32_t command) {
  static const auto by_command = [] {
    std::map<std::int32_t, const Handler*> all;
    for (const auto& group : {compensation_handlers(), device_handlers(), list_handlers(), measurement_handlers(),
                              motion_handlers(), status_handlers(), transformation_handlers()}) {
      for (const Handler& handler : group) all.emplace(handler.command, &handler);
    }
    return all;
  }();
  const auto found = by_command.find(command);
  return found == by_command.end() ? nullptr : found->second;
}

VL_ResultStatus refusal(const Tracker& tracker, Needs needs) {
  if (needs == Needs::kNothing) return VL_RS_AllOK;
  if (!tracker.state().initialised) return VL_RS_TrackerNotInitialized;
  if (needs == Needs::kReady && tracker.readiness() == VL_TS_Busy)
    return tracker.state().is_compensating ? VL_RS_InCompensationMode : VL_RS_ServerBusy;
  return VL_RS_AllOK;
}

void run(Tracker& tracker, const Handler* handler, const Request& request, const Reply& reply) {
  if (handler) return handler->run(tracker, request, reply);
  const SettingRow* setting = find_setting(request.command());
  if (!setting) return reply.status(VL_RS_NotImplemented);
  if (setting->set == request.command()) return tracker.change_setting(request, reply);
  reply.values(tracker.settings().load(*setting, request.frame()));
}

}  // namespace

void execute(Tracker& tracker, const std::shared_ptr<Client>& client, Bytes packet) {
  const std::int32_t command = wire::load_i32(packet.data() + 8);
  const protocol::CommandRow* row = protocol::find_command(command);
  const auto complain = [&](std::int32_t about, VL_ResultStatus status) {
    client->send(error_packet(about, status));
    client->answered();
  };
  if (wire::load_i32(packet.data() + 4) != VL_DT_Command || !row || row->request_size == 0)
    return complain(VL_C_Unknown, VL_RS_NotImplemented);
  if (packet.size() != row->request_size) return complain(command, VL_RS_WrongParameter);

  const Request request(*row, std::move(packet), tracker.frame());
  const Handler* handler = find_handler(command);
  VL_ResultStatus status = handler ? refusal(tracker, handler->needs) : VL_RS_AllOK;
  if (status == VL_RS_AllOK) status = check_parameters(request);
  tracker.state().last_status = status;
  const Reply reply(client, *row, request.frame(), is_accepted(status) ? status : VL_RS_AllOK);
  if (!is_accepted(status)) return reply.status(status);
  run(tracker, handler, request, reply);
  tracker.report_readiness();
}

}  // namespace kestrine::simulator
