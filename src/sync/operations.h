// The operations of ILTCommandSync: one walk over an operation's row that checks, encodes, sends, waits and
// decodes. The families that depart from it are told apart along the way.
#pragma once

#include "commands/arguments.h"
#include "sync/engine.h"
#include "transport/connection.h"

namespace kestrine::sync {

class CLTCommandSyncBase : public Engine {
 public:
  using Engine::Engine;

  // The operation with this identifier; one argument for each of its parameters, in order. E_POINTER when an
  // output has nowhere to go: then nothing is sent.
  HRESULT perform(int dispid, commands::Argument* arguments);

 protected:
  ~CLTCommandSyncBase() = default;

 private:
  HRESULT refuse_pending(const protocol::MemberRow& row);
  void after_send(const protocol::MemberRow& row, transport::CLTConnectBase& connection);
  std::int32_t timeout_of(const protocol::MemberRow& row, const transport::CLTConnectBase& connection) const;
  HRESULT wait_and_finish(const protocol::MemberRow& row, const protocol::Request& request,
                          commands::Argument* arguments, transport::CLTConnectBase& connection);
  void mirror(const protocol::MemberRow& row, const protocol::Request& request, transport::CLTConnectBase& connection);
};

}  // namespace kestrine::sync
