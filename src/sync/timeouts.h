// How long each class of command waits for its answer, in milliseconds; settings file, section
// SyncCommandTimeouts.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <iterator>

#include "commands/method_rows.h"
#include "sync/wait_rows.h"

namespace kestrine::sync {

class Timeouts {
 public:
  Timeouts();  // reads all, as far as they are positive

  // Reads the first ones again, with the defaults of ordinary or of increased timeouts. Reading stops after the
  // first value that is not positive, which is stored as read; false when it did.
  bool read_again(bool increased);

  std::int32_t operator[](commands::WaitClass wait) const;

 private:
  static constexpr std::size_t kCount = std::size(kWaitRows);

  bool read(std::size_t count, bool increased);

  std::array<std::int32_t, kCount> values_;
};

}  // namespace kestrine::sync
