#include "cli/common/connect.h"

#include <string>

#include "cli/common/failure.h"
#include "cli/common/terminal.h"
#include "kestrine/host.h"

namespace kestrine::cli {
namespace {

constexpr const char* kNoConnection = "cannot connect to ";

}  // namespace

Pointer<ILTConnect> connect(const Endpoint& endpoint) {
  std::string reason;  // the library logs it; its error only says that there is no connection
  host::set_log_hook([&](const std::string& line) {
    if (line.starts_with(kNoConnection)) reason = line;
  });
  auto connection = create<ILTConnect>(CLSID_LTConnect);
  const HRESULT status = connection->ConnectEmbeddedSystem(Text(endpoint.host), endpoint.port);
  host::set_log_hook({});
  if (SUCCEEDED(status)) return connection;
  const std::string text = text_of(take_error(status));
  if (terminal::stop_asked()) throw Stopped();
  if (reason.empty()) reason = kNoConnection + endpoint.host + " port " + std::to_string(endpoint.port) + ": " + text;
  throw Failure(reason);
}

}  // namespace kestrine::cli
