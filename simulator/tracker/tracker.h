// The one tracker behind the server: its state, who is connected, and what it is doing.
#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <vector>

#include "kestrine/simulator.h"
#include "simulator/mathematics/transformation_fit.h"
#include "simulator/messages/messages.h"
#include "simulator/tracker/drive.h"
#include "simulator/tracker/inclination.h"
#include "simulator/tracker/noise.h"
#include "simulator/tracker/scheduler.h"
#include "simulator/tracker/settings.h"

namespace kestrine::simulator {

// Everything that a power cycle forgets, beside the settings.
struct State {
  bool initialised = false;
  bool laser_on = true;
  bool is_laser_warm = true;
  bool is_compensating = false;
  Inclination sensor_index;                                         // taken out of the inclination sensor's readings
  std::array<std::optional<CallATRCompensationRT>, 2> recognition;  // on the axis and wide, once compensated
  VL_TrackerFace face = VL_TF_Face1;
  std::int32_t tip_adapter = 1;
  std::optional<Vector> target;  // the reflector that the beam is locked on
  std::optional<Vector> last_measured;
  VL_ResultStatus last_status = VL_RS_AllOK;
  std::vector<Vector> drive_points;
  std::vector<KnownPoint> nominal_points;
  std::vector<KnownPoint> actual_points;
  std::optional<TransformationFit> transformation;  // of the lists as they are
  std::map<std::int32_t, double> system_parameters;
};

// A measurement that is under way. There is one at a time, for the client that started it.
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

class Tracker {
 public:
  Tracker(const Options& options, Scheduler& scheduler);

  void join(std::shared_ptr<Client> client);
  void leave(const Client& client);
  // The client has taken what was sent to it.
  void caught_up(const Client& client);

  State& state() { return state_; }
  const State& state() const { return state_; }
  Settings& settings() { return settings_; }
  const Settings& settings() const { return settings_; }
  Noise& noise() { return noise_; }
  Drive& drive() { return drive_; }
  Scheduler& scheduler() { return scheduler_; }
  const Options& options() const { return options_; }
  Frame frame() const;
  VL_TrackerStatus readiness() const;

  const std::vector<std::shared_ptr<Client>>& clients() const { return clients_; }

  // Stores the setting that the request is for, with what follows from it, and reports it to the clients that asked.
  void change_setting(const Request& request, const Reply& reply);
  void announce(VL_SystemStatusChange change);
  // Announces whether the tracker can measure, where that has changed.
  void report_readiness();
  // Busy for a while, then `done`. Nothing else may be going on.
  void act(double seconds, std::function<void()> done);
  void begin_measurement(std::unique_ptr<Measurement> measurement);
  void end_measurement();  // destroys it: to be its last call
  Measurement* measurement() { return measurement_.get(); }
  void set_initialised();
  // Warming up takes a while, during which the beam can be used already.
  void switch_laser(bool is_on);
  void set_face(VL_TrackerFace face);
  // What a tracker in compensation mode refuses it refuses with a status of its own.
  void set_compensating(bool is_compensating);
  // Announces every pulse of the trigger, as long as its source is the one for messages.
  void watch_trigger();
  // Points at a target and locks the beam on it.
  void lock_on(const Vector& target);
  double search_radius() const;
  // Points at a place and locks the beam on the target within the radius, if there is one.
  bool find_target(const Vector& place, double radius);
  // As after power-on; every connection ends.
  void restart();

 private:
  Options options_;
  Scheduler& scheduler_;
  Settings settings_;
  State state_;
  Noise noise_;
  Drive drive_;
  std::vector<std::shared_ptr<Client>> clients_;
  std::unique_ptr<Measurement> measurement_;
  Timer action_;
  Timer laser_warming_;
  Timer trigger_watch_;
  VL_TrackerStatus reported_readiness_ = VL_TS_NotReady;
};

}  // namespace kestrine::simulator
