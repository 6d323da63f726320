#include "connection/receive_buffers.h"

#include "kestrine/enums.h"

namespace kestrine::connection {

ReceiveBuffers::Buffer ReceiveBuffers::for_type(std::int32_t data_type) {
  switch (data_type) {
    case VL_DT_Command:
      return {command_answer_.data(), kLargeBuffer};
    case VL_DT_Error:
      return {error_.data(), kSmallBuffer};
    case VL_DT_TiltraResult:
      return {tiltra_.data(), kSmallBuffer};
    case VL_DT_ReflectorPosResult:
    case VL_DT_ProbePosResult:
      return {position_.data(), kSmallBuffer};
    case VL_DT_SystemStatusChange:
      return {status_change_.data(), kSmallBuffer};
    default:
      return {measurement_.data(), kLargeBuffer};
  }
}

}  // namespace kestrine::connection
