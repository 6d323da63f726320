// The service behind the simulator's public face: a thread, a listening socket, and time.
#include <asio.hpp>
#include <chrono>
#include <stdexcept>
#include <string>
#include <system_error>
#include <thread>
#include <unordered_map>
#include <utility>

#include "kestrine/simulator.h"
#include "simulator/measuring/position_display.h"
#include "simulator/server/session.h"
#include "simulator/tracker/tracker.h"

namespace kestrine::simulator {
namespace {

using WallClock = std::chrono::steady_clock;

class AsioScheduler : public Scheduler {
 public:
  AsioScheduler(asio::io_context& context, double time_scale)
      : context_(context), time_scale_(time_scale), start_(WallClock::now()) {}

  double now() const override {
    const std::chrono::duration<double> elapsed = WallClock::now() - start_;
    return elapsed.count() / (time_scale_ > 0 ? time_scale_ : 1);
  }

  std::uint64_t after(double seconds, Pace pace, std::function<void()> task) override {
    const std::uint64_t number = ++last_number_;
    auto& timer = timers_.try_emplace(number, context_).first->second;
    const std::chrono::duration<double> wait(pace == Pace::kTracker ? seconds * time_scale_ : seconds);
    timer.expires_after(std::chrono::duration_cast<WallClock::duration>(wait));
    timer.async_wait([this, number, task = std::move(task)](const asio::error_code& error) {
      // A cancelled number is gone from the map, also when its expiry was under way already.
      if (error || timers_.erase(number) == 0) return;
      task();
    });
    return number;
  }

  void cancel(std::uint64_t number) override { timers_.erase(number); }

 private:
  asio::io_context& context_;
  const double time_scale_;
  const WallClock::time_point start_;
  std::uint64_t last_number_ = 0;
  std::unordered_map<std::uint64_t, asio::steady_timer> timers_;
};

asio::ip::tcp::endpoint endpoint(const Options& options) {
  asio::error_code error;
  const auto address = asio::ip::make_address(options.address, error);
  if (error) throw std::runtime_error("\"" + options.address + "\" is no address to listen on");
  return {address, options.port};
}

asio::ip::tcp::acceptor listen(asio::io_context& context, const Options& options) {
  const auto at = endpoint(options);
  try {
    return asio::ip::tcp::acceptor(context, at);
  } catch (const std::system_error& error) {
    const bool is_privileged = error.code() == asio::error::access_denied;
    throw std::runtime_error(
        "cannot listen on " + options.address + ":" + std::to_string(options.port) + ": " + error.code().message() +
        (is_privileged ? " (ports below 1024 are for privileged users; choose a higher one)" : ""));
  }
}

}  // namespace

class Simulator::Service {
 public:
  explicit Service(const Options& options)
      : acceptor_(listen(context_, options)),
        scheduler_(context_, options.time_scale),
        tracker_(options, scheduler_),
        display_(tracker_) {
    port_ = acceptor_.local_endpoint().port();
    accept();
    thread_ = std::thread([this] { run(); });
  }

  ~Service() {
    asio::post(context_, [this] { stop(); });
    thread_.join();
  }

  std::uint16_t port() const { return port_; }

 private:
  void accept() {
    acceptor_.async_accept([this](asio::error_code error, asio::ip::tcp::socket socket) {
      if (error == asio::error::operation_aborted) return;
      // A client that went away before it was taken in, or a want of descriptors, is no reason to stop serving.
      if (!error) std::make_shared<Session>(std::move(socket), tracker_)->start();
      accept();
    });
  }

  void run() {
    // Clients get a moment to take the last words; one that does not read is not waited for any longer.
    constexpr std::chrono::milliseconds kPatience{200};
    while (!is_stopping_) context_.run_one();
    context_.run_for(kPatience);
  }

  void stop() {
    is_stopping_ = true;
    acceptor_.close();
    tracker_.restart();
    display_.stop();
  }

  asio::io_context context_{1};
  asio::ip::tcp::acceptor acceptor_;
  AsioScheduler scheduler_;
  Tracker tracker_;
  PositionDisplay display_;
  std::uint16_t port_ = 0;
  bool is_stopping_ = false;  // of the serving thread
  std::thread thread_;
};

Simulator::Simulator(const Options& options) : service_(std::make_unique<Service>(options)) {}

Simulator::~Simulator() = default;

std::uint16_t Simulator::port() const {
  return service_->port();
}

}  // namespace kestrine::simulator
