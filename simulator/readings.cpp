#include "simulator/readings.h"

namespace kestrine::simulator {

Mean mean_of(int readings, const std::function<Vector()>& read) {
  Vector sum;
  Matrix squares{};
  for (int i = 0; i < readings; ++i) {
    const Vector each = read();
    sum = sum + each;
    squares = squares + outer(each, each);
  }
  const Vector mean = (1.0 / readings) * sum;
  const Matrix scatter = (1.0 / readings) * squares + -1.0 * outer(mean, mean);
  return {mean, (1.0 / (readings - 1)) * scatter};
}

}  // namespace kestrine::simulator
