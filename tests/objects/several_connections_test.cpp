// Several trackers at once: no value of one may come out of another, on one thread or on several.
#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <latch>
#include <thread>
#include <vector>

#include "environment.h"
#include "kestrine/kestrine.h"
#include "kestrine/simulator.h"

namespace kestrine::test {
namespace {

using namespace std::chrono_literals;

constexpr int kTrackers = 4;

// One tracker with its client. Its temperature tells it from the others.
class Station final : public AsyncEvents {
 public:
  static Pointer<Station> create(int number) { return Pointer<Station>::adopt(new Station(number)); }

  void work(int round) {
    check(sync_->SetEnvironmentParams(own(round), 1000, 50));
    check(async_->GetEnvironmentParams());
    check(sync_->GetReflectors());
    double temperature = 0, pressure = 0, humidity = 0;
    check(sync_->GetEnvironmentParams(&temperature, &pressure, &humidity));
    EXPECT_EQ(temperature, own(round)) << "of tracker " << number_;
    answers_ += 2;  // of the waiting call, too, the other object hears
  }
  bool has_heard_all() const { return heard_ == answers_; }
  void close() {
    events_ = {};
    check(connection_->DisconnectEmbeddedSystem());
  }

 private:
  explicit Station(int number) : number_(number), connection_(kestrine::create<ILTConnect>(CLSID_LTConnect)) {
    check(connection_->ConnectEmbeddedSystem(Text("localhost"), simulator_.port()));
    sync_ = command_sync(*connection_);
    async_ = command_async(*connection_);
    check(sync_->Initialize());
    events_ = {*async_, DIID__ILTCommandAsyncEvents, *this};
  }

  double own(int round) const { return 10 + number_ + 0.01 * (round % 50); }

  void EnvironmentParamsData(double temperature, double, double) override {
    EXPECT_EQ(static_cast<int>(temperature), 10 + number_);
    ++heard_;
  }

  const int number_;
  simulator::Simulator simulator_{{.time_scale = 0}};
  Pointer<ILTConnect> connection_;
  Pointer<ILTCommandSync> sync_;
  Pointer<ILTCommandAsync> async_;
  Subscription events_;
  int answers_ = 0;
  int heard_ = 0;
};

void work_at(std::vector<Pointer<Station>> stations) {
  for (int round = 0; round < 100; ++round) {
    for (const auto& station : stations) station->work(round);
  }
  for (const auto& station : stations) {
    for (int i = 0; i < 1000 && !station->has_heard_all(); ++i) host::run_for(5ms);
    EXPECT_TRUE(station->has_heard_all());
    station->close();
  }
}

TEST(SeveralConnections, KeepTheirTrackersApart) {
  ASSERT_TRUE(host::set_behaviour(host::Behaviour::kModern));
  std::vector<Pointer<Station>> stations;
  for (int i = 0; i < kTrackers; ++i) stations.push_back(Station::create(i));
  work_at(stations);
}

TEST(SeveralConnections, AreRegisteredFoundMadeAndUsedByAllThreadsAtOnce) {
  ASSERT_TRUE(host::set_behaviour(host::Behaviour::kModern));
  const Environment environment;
  ::setenv("XDG_DATA_HOME", environment.directory().c_str(), 1);
  std::latch ready(kTrackers);
  std::vector<std::thread> threads;
  for (int i = 0; i < kTrackers; ++i) {
    threads.emplace_back([&ready, i] {
      ready.arrive_and_wait();
      CLSID clsid;
      EXPECT_EQ(host::register_library({}), S_OK);
      EXPECT_EQ(CLSIDFromProgID(u"Kestrine.LTConnect.1", &clsid), S_OK);
      EXPECT_TRUE(create<ILTConnect>(clsid));
      work_at({Station::create(i)});
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_FALSE(host::set_behaviour(host::Behaviour::kClassic)) << "it holds for the process";
}

}  // namespace
}  // namespace kestrine::test
