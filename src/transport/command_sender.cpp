#include "transport/command_sender.h"

#include <memory>

#include "platform/socket.h"
#include "transport/connection.h"

namespace kestrine::transport {

bool CLTAPICommand::send(const std::uint8_t* bytes, std::int32_t size) {
  return connection_ != nullptr && platform::send_bytes(connection_->socket, bytes, size) != -1;
}

void CLTAPICommand::forget(const CLTConnectBase& connection) {
  if (connection_ == &connection) connection_ = nullptr;
}

CLTAPICommand& adopt_sender(Slots& slots, CLTConnectBase& connection) {
  std::erase_if(slots.senders, [](const auto& sender) { return sender->is_idle(); });
  return *slots.senders.emplace_back(std::make_unique<CLTAPICommand>(connection));
}

}  // namespace kestrine::transport
