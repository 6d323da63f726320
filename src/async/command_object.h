// The asynchronous command object, as far as packets and events concern it.
#pragma once

#include <cstdint>

#include "transport/command_objects.h"
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

  void clear_vertical_speed() override { vertical_speed_ = 0; }
  void clear_horizontal_speed() override { horizontal_speed_ = 0; }
  void retire() override { retired_ = true; }

 protected:
  ~CLTCommandAsyncBase() = default;

  transport::Slots& slots;

 private:
  std::uint32_t creation_tick_ = 0;
  std::int32_t horizontal_speed_ = 0;
  std::int32_t vertical_speed_ = 0;
  bool retired_ = false;
};

}  // namespace kestrine::async
