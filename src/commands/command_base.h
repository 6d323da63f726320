// What both command objects do alike: join and leave their generation, refuse operations, and send requests.
#pragma once

#include <memory>
#include <utility>

#include "commands/arguments.h"
#include "commands/drive_speeds.h"
#include "dispatch/generation.h"
#include "protocol/catalogue.h"
#include "protocol/codec.h"

namespace kestrine::commands {

using connection::PendingRequests;
using protocol::MemberRow;

// What an operation brings beside its answer.
PendingRequests::Result result_of(const MemberRow& row);

// `Commands` is dispatch::SyncCommands or dispatch::AsyncCommands.
template <class Commands>
class CommandBase : public Commands {
 public:
  explicit CommandBase(std::shared_ptr<dispatch::Generation> generation)
      : keep_generation_(std::move(generation)), generation_(*keep_generation_) {}

  // For the complete object, and for one about to be destroyed.
  void enter() { generation_.objects().enter(*this, generation_.connection()); }
  void leave() { generation_.objects().leave(*this); }

 protected:
  ~CommandBase() = default;

  // S_OK when the operation may be sent, S_FALSE when it is dropped without a failure, else the failure.
  HRESULT check(const MemberRow& row);
  // A step of speed counts as made from here on, also when the request cannot be sent.
  protocol::Request build(const MemberRow& row, const Argument* arguments);
  // Fills in the ticket of what is to be answered.
  HRESULT send(const MemberRow& row, const protocol::Request& request, PendingRequests::Ticket* ticket = nullptr);
  // What the connection remembers of the settings that it sent.
  void remember(const MemberRow& row, const protocol::Request& request);

  HRESULT refuse(const protocol::Error& failure, bool throws);
  bool has_throwing_connection() const;

  const std::shared_ptr<dispatch::Generation> keep_generation_;
  dispatch::Generation& generation_;
  DriveSpeeds speeds_;

 private:
  virtual bool is_call_waiting() const = 0;
  // The operation is asked for while another call waits.
  virtual HRESULT refuse_while_waiting(const MemberRow& row) = 0;
  // A mode that does not fit and a request that cannot be sent are thrown as well as returned.
  virtual bool throws() const = 0;

  const IID& interface_id() const;
};

}  // namespace kestrine::commands
