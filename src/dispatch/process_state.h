// What all interface generations in a process share.
#pragma once

#include <atomic>
#include <cstdint>

#include "connection/rules.h"

namespace kestrine::dispatch {

class ProcessState {
 public:
  explicit ProcessState(const connection::Rules& rules) : rules_(rules) {}

  const connection::Rules& rules() const { return rules_; }

  // The first generation claimed holds for the process; false for the other one.
  bool claim_generation(int generation) {
    if (claimed_generation_ == 0) claimed_generation_ = generation;
    return claimed_generation_ == generation;
  }

  // An application has asked a connection for one of its command objects, so it makes none of its own.
  bool has_fetched_objects() const { return has_fetched_objects_; }
  void mark_objects_fetched() { has_fetched_objects_ = true; }

  // In a forked child. The locks stay: the parent's objects are still there.
  void begin_anew() {
    claimed_generation_ = 0;
    has_fetched_objects_ = false;
    web_hosted_ = false;
  }

  // Live objects and locks on class objects: reasons to stay loaded. From any thread.
  void lock() { ++locks_; }
  void unlock() { --locks_; }
  // Locks that an application asks a class object for. One given back too often must not make up for an object.
  void lock_server() {
    ++server_locks_;
    lock();
  }
  void unlock_server() {
    std::int32_t locks = server_locks_;
    while (locks > 0 && !server_locks_.compare_exchange_weak(locks, locks - 1)) {
    }
    if (locks > 0) unlock();
  }
  void set_web_hosted(bool on) { web_hosted_ = on; }
  // A host that is a web application may unload with one lock left: the connection that it keeps.
  bool can_unload() const {
    const std::int32_t locks = locks_;
    return locks == 0 || (locks == 1 && web_hosted_);
  }

 private:
  const connection::Rules& rules_;
  int claimed_generation_ = 0;  // 0: none yet
  bool has_fetched_objects_ = false;
  std::atomic<bool> web_hosted_ = false;
  std::atomic<std::int32_t> locks_ = 0;
  std::atomic<std::int32_t> server_locks_ = 0;
};

// An object's reason to stay loaded: its first base, so that it goes last, after everything that may still call out.
class KeepsLoaded {
 public:
  explicit KeepsLoaded(ProcessState& process) : process_(process) { process_.lock(); }
  KeepsLoaded(const KeepsLoaded&) = delete;
  KeepsLoaded& operator=(const KeepsLoaded&) = delete;

 protected:
  ~KeepsLoaded() { process_.unlock(); }

 private:
  ProcessState& process_;
};

}  // namespace kestrine::dispatch
