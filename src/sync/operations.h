// The operations of ILTCommandSync: one walk over an operation's row that checks, encodes, sends, waits and
// decodes. The families that depart from it are told apart along the way.
#pragma once

#include "protocol/errors.h"
#include "protocol/request.h"
#include "sync/argument.h"
#include "sync/engine.h"
#include "sync/method_rows.h"
#include "transport/connection.h"

namespace kestrine::sync {

class CLTCommandSyncBase : public Engine {
 public:
  using Engine::Engine;

  // The operation with this identifier; one argument for each of its parameters, in order. E_POINTER when an
  // output has nowhere to go: then nothing is sent.
  HRESULT perform(int dispid, Argument* arguments);

 protected:
  ~CLTCommandSyncBase() = default;

 private:
  struct Speeds {
    std::int32_t horizontal;
    std::int32_t vertical;
  };

  HRESULT check_mode(const MethodRow& row);
  HRESULT refuse_pending(const MethodRow& row);
  protocol::Request build_request(const MethodRow& row, const Argument* arguments);
  void step_speeds(const MethodRow& row);
  Speeds speeds_to_send(const MethodRow& row, const Argument* arguments) const;
  void after_send(const MethodRow& row, transport::CLTConnectBase& connection);
  std::int32_t timeout_of(const MethodRow& row, const transport::CLTConnectBase& connection) const;
  HRESULT wait_and_finish(const MethodRow& row, Argument* arguments, transport::CLTConnectBase& connection);
  void mirror(const MethodRow& row, const Argument* arguments, transport::CLTConnectBase& connection);
};

}  // namespace kestrine::sync
