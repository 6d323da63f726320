// What both command objects do alike: appear and go, refuse, and send an operation's request.
#pragma once

#include "commands/argument.h"
#include "commands/drive_speeds.h"
#include "commands/method_rows.h"
#include "dispatch/generation.h"

namespace kestrine::commands {

// `Commands` is dispatch::SyncCommands or dispatch::AsyncCommands.
template <class Commands>
class CommandBase : public Commands {
 public:
  explicit CommandBase(dispatch::Generation& generation) : generation_(generation) {}

  // What the object calls when it is whole, and before it goes.
  void enter() { generation_.objects().enter(*this, generation_.connection()); }
  void leave() { generation_.objects().leave(*this); }

 protected:
  ~CommandBase() = default;

  // Checks the operation and sends its request. S_OK once that is on its way, S_FALSE when the operation gives up in
  // silence, else the failure.
  HRESULT start(const MethodRow& row, const Argument* arguments);
  HRESULT refuse(const protocol::Error& failure, bool throws);
  bool has_throwing_connection() const;

  dispatch::Generation& generation_;
  DriveSpeeds speeds_;

 private:
  virtual bool is_call_waiting() const = 0;
  // The operation is asked for while another call waits.
  virtual HRESULT refuse_while_waiting(const MethodRow& row) = 0;
  // A mode that does not fit and a request that cannot be sent are thrown as well as returned.
  virtual bool throws() const = 0;
  virtual void prepare_to_send(const MethodRow& row) = 0;

  const IID& interface_id() const;
};

}  // namespace kestrine::commands
