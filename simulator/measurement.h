// A measurement that is under way. There is one at a time, for the client that started it.
#pragma once

#include <memory>

#include "kestrine/records.h"
#include "simulator/frame.h"
#include "simulator/outside.h"

namespace kestrine::simulator {

class Tracker;

class Measurement {
 public:
  explicit Measurement(std::weak_ptr<Client> client) : client_(std::move(client)) {}
  virtual ~Measurement() = default;
  Measurement(const Measurement&) = delete;
  Measurement& operator=(const Measurement&) = delete;

  // Hands out what has been measured so far and is worth it. The measurement is destroyed afterwards.
  virtual void stop() = 0;
  // The client has taken what was sent to it.
  virtual void client_caught_up() {}

  std::shared_ptr<Client> client() const { return client_.lock(); }

 private:
  std::weak_ptr<Client> client_;
};

// One point on the locked target, over the time that the mode takes.
std::unique_ptr<Measurement> measure_stationary(Tracker& tracker, std::weak_ptr<Client> client);
// The same with the probe's tip on the target.
std::unique_ptr<Measurement> measure_probe_stationary(Tracker& tracker, std::weak_ptr<Client> client);
// The centre of the sphere or circle that the mode leads its target over, with as many points as it asks for.
std::unique_ptr<Measurement> measure_centre(Tracker& tracker, std::weak_ptr<Client> client, VL_MeasMode mode);
// Points along the reflector's path until the count is reached or a stop comes.
std::unique_ptr<Measurement> measure_continuously(Tracker& tracker, std::weak_ptr<Client> client, VL_MeasMode mode);

// What a measurement of a single point answers when there is none.
void send_no_result(Tracker& tracker, Client& client, VL_ResultStatus status);

}  // namespace kestrine::simulator
