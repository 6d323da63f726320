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

  void clear_blocked_speeds(std::int32_t command, std::int32_t status) override {
    speeds_.clear_blocked(command, status);
  }

 protected:
  ~AsyncCommandObject() = default;

 private:
  bool is_call_waiting() const override;
  HRESULT refuse_while_waiting(const MemberRow& row) override;
  bool throws() const override { return has_throwing_connection(); }
};

}  // namespace kestrine::commands
