// The one way out: every request of every command object is written here, in one call.
#pragma once

#include <cstdint>

namespace kestrine::transport {

class CLTConnectBase;
struct Slots;

class CLTAPICommand {
 public:
  explicit CLTAPICommand(CLTConnectBase& connection) : connection_(&connection) {}

  // True unless the write itself fails: a partial write counts as success, and nothing is retried.
  bool send(const std::uint8_t* bytes, std::int32_t size);
  void forget(const CLTConnectBase& connection);
  bool is_idle() const { return connection_ == nullptr; }

 private:
  CLTConnectBase* connection_;
};

// A sender for the connection, kept in the slots.
CLTAPICommand& adopt_sender(Slots& slots, CLTConnectBase& connection);

}  // namespace kestrine::transport
