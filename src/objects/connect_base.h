// What the operations of ILTConnect do, for the connection classes of both generations.
#pragma once

#include <memory>
#include <utility>

#include "connection/connection.h"
#include "dispatch/generation.h"

namespace kestrine::objects {

class ConnectBase : public connection::Connection {
 public:
  explicit ConnectBase(std::shared_ptr<dispatch::Generation> generation)
      : Connection(generation->connection_events(), generation->process().rules()),
        keep_generation_(std::move(generation)),
        generation_(*keep_generation_) {}

  // For the complete object, and for one about to be destroyed.
  void enter() { generation_.attach(*this); }
  void leave();

  HRESULT fetch_commands(dispatch::CommandSet set, IUnknown** object);
  HRESULT connect(BSTR address, std::int32_t port);
  HRESULT disconnect();
  HRESULT select_notification(KR_NotifyMethod method, std::int32_t target_handle, std::int32_t cookie);
  HRESULT copy_latest_packet(VARIANT* data);
  HRESULT extract_image(const VARIANT* packet, std::int32_t* size, VARIANT* file);

  // A failure of one of the connection's own operations.
  HRESULT fail(const protocol::Error& failure, HRESULT code = E_FAIL);

 protected:
  ~ConnectBase() = default;

  const std::shared_ptr<dispatch::Generation> keep_generation_;
  dispatch::Generation& generation_;
};

}  // namespace kestrine::objects
