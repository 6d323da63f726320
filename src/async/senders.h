// The operations of ILTCommandAsync: one walk over an operation's row that checks, encodes and sends. None waits; what
// comes of it reaches the application as events.
#pragma once

#include <cstdint>

#include "commands/arguments.h"
#include "protocol/errors.h"
#include "transport/command_objects.h"
#include "transport/connection.h"
#include "transport/slots.h"

namespace kestrine::async {

class CLTCommandAsyncBase : public transport::AsyncCommands {
 public:
  explicit CLTCommandAsyncBase(transport::Slots& generation) : slots(generation) {}
  CLTCommandAsyncBase(const CLTCommandAsyncBase&) = delete;
  CLTCommandAsyncBase& operator=(const CLTCommandAsyncBase&) = delete;

  // What the object calls when it is whole, and before it goes.
  void enter();
  void leave();

  // The operation with this identifier; one argument for each of its parameters, in order. Allocates nothing unless it
  // fails.
  HRESULT perform(int dispid, const commands::Argument* arguments);

  void clear_vertical_speed() override { speeds_.vertical = 0; }
  void clear_horizontal_speed() override { speeds_.horizontal = 0; }
  void retire() override { retired_ = true; }

 protected:
  ~CLTCommandAsyncBase() = default;

  transport::Slots& slots;

 private:
  bool throws() const { return slots.connection != nullptr && slots.connection->exception_policy; }
  HRESULT refuse(const protocol::Error& failure);
  HRESULT report_send_failure(std::int32_t command);
  void after_send(const protocol::MemberRow& row, const protocol::Request& request);

  std::uint32_t creation_tick_ = 0;
  commands::DriveSpeeds speeds_;
  bool retired_ = false;
};

}  // namespace kestrine::async
