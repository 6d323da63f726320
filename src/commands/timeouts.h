// How long each class of waiting takes, in milliseconds; settings file, section SyncCommandTimeouts.
#pragma once

#include <cstdint>
#include <vector>

#include "protocol/catalogue.h"

namespace kestrine::commands {

class Timeouts {
 public:
  // Reads all, as far as they are positive. Those that are not are the defaults for whom `ignores_senseless` holds.
  explicit Timeouts(bool ignores_senseless);

  // Reads those again that have a value for increased timeouts, with these or the ordinary ones as defaults. Reading
  // stops after the first value that is not positive, which is stored as read; false when it did.
  bool read_again(bool increased);

  std::int32_t operator[](const protocol::WaitRow& wait) const;

 private:
  bool read(std::size_t place, std::int32_t fallback);

  const bool ignores_senseless_;
  std::vector<std::int32_t> values_;
};

}  // namespace kestrine::commands
