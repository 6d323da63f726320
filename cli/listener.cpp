#include "cli/listener.h"

#include <span>

#include "cli/stream_block.h"

namespace kestrine::cli {
namespace {

// The packet received last, for as long as it is read.
class ReceivedPacket {
 public:
  explicit ReceivedPacket(ILTConnect& connection) {
    check(connection.GetData(&data_));
    check(SafeArrayAccessData(data_.parray, &bytes_));
  }
  ReceivedPacket(const ReceivedPacket&) = delete;
  ReceivedPacket& operator=(const ReceivedPacket&) = delete;
  ~ReceivedPacket() {
    if (bytes_ != nullptr) SafeArrayUnaccessData(data_.parray);
    VariantClear(&data_);
  }

  std::span<const std::uint8_t> bytes() const {
    return {static_cast<const std::uint8_t*>(bytes_), data_.parray->rgsabound[0].cElements};
  }

 private:
  VARIANT data_{};
  void* bytes_ = nullptr;
};

}  // namespace

void Listener::ContinuousPointMeasDataReady(std::int32_t, std::int32_t) {
  // Nothing may be thrown through the library.
  try {
    take_block();
  } catch (const std::exception& error) {
    failure_ = error.what();
  }
}

void Listener::take_block() {
  const ReceivedPacket packet(connection_);
  for (Point& point : read_stream_block(packet.bytes())) {
    if (!first_seconds_) first_seconds_ = point.seconds;
    point.seconds -= *first_seconds_;
    points_.push_back(point);
  }
}

void Listener::StatusChangeEvent(VL_SystemStatusChange statusChange) {
  if (statusChange != VL_SSC_ServerClosing && statusChange != VL_SSC_TPConnectionClosing) return;
  const bool server = statusChange == VL_SSC_ServerClosing;
  failure_ = server ? "the server closed the connection" : "the server lost its tracker";
  lost_ = true;
}

void Listener::ErrorEvent(VL_Command, VL_ResultStatus) {
  // The library leaves its report of the error behind before it fires the event.
  const Error error = take_error(S_FALSE);
  failure_ = std::string(error.what()) + " (error " + std::to_string(error.number()) + ")";
}

}  // namespace kestrine::cli
