// The operations of ILTCommandAsync. None waits; what comes of it reaches the application as events.
#pragma once

#include "commands/command_base.h"

namespace kestrine::commands {

class AsyncCommandObject : public CommandBase<dispatch::AsyncCommands> {
 public:
  using CommandBase::CommandBase;

  // The operation with this identifier; one argument for each of its parameters, in order. Allocates nothing unless it
  // fails.
  HRESULT perform(int dispid, const Argument* arguments);

  void clear_vertical_speed() override { speeds_.vertical = 0; }
  void clear_horizontal_speed() override { speeds_.horizontal = 0; }

 protected:
  ~AsyncCommandObject() = default;

 private:
  bool is_call_waiting() const override;
  HRESULT refuse_while_waiting(const MethodRow& row) override;
  bool throws() const override { return has_throwing_connection(); }
  void prepare_to_send(const MethodRow&) override {}
};

}  // namespace kestrine::commands
