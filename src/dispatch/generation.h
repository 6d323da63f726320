// One interface generation at work: its connection, its command objects, and what its failures and packets become.
// Everything that belongs together is reached from here; nothing is reached by way of a global.
#pragma once

#include <memory>
#include <string_view>
#include <vector>

#include "connection/channel.h"
#include "connection/connection.h"
#include "dispatch/command_roster.h"
#include "dispatch/dispatcher.h"
#include "dispatch/error_reporting.h"

namespace kestrine::dispatch {

// All that differs between the generations.
struct Identity {
  int generation;  // 1 or 2
  const IID& connect;
  const IID& sync;
  const IID& async;
  std::u16string_view connect_source;  // the program identifiers that failures carry
  std::u16string_view sync_source;
  std::u16string_view async_source;
};

// Kept by the connections and command objects that belong to it. Where connections stand for themselves, each makes one
// of its own; else there is one for all connections of an interface generation.
class Generation : public std::enable_shared_from_this<Generation> {
 public:
  Generation(const Identity& identity, ProcessState& process, CommandObjectFactory& factory);
  Generation(const Generation&) = delete;
  Generation& operator=(const Generation&) = delete;

  const Identity& identity() const { return identity_; }
  ProcessState& process() { return process_; }
  CommandRoster& objects() { return objects_; }
  ErrorReporting& errors() { return errors_; }
  connection::ConnectionEvents& connection_events() { return dispatcher_; }

  // A generation has one connection at a time: a new one takes the place of one that was there, and gets a channel and
  // command objects of its own, which the earlier one uses from then on as well.
  void attach(connection::Connection& connection);
  void detach(connection::Connection& connection);
  connection::Connection* connection() const { return connection_; }
  connection::Channel* channel() const { return channel_; }
  platform::WindowHandle window() const { return channel_ == nullptr ? 0 : channel_->window(); }

 private:
  // Those without a connection go, and the last connection takes all with it: whoever unloads the library then must
  // find no window of it on any loop. An earlier connection may still connect by the latest channel.
  void drop_channels();

  const Identity& identity_;
  ProcessState& process_;
  ErrorReporting errors_;
  Dispatcher dispatcher_;
  CommandRoster objects_;

  connection::Connection* connection_ = nullptr;
  connection::Channel* channel_ = nullptr;
  std::vector<connection::Channel::Owner> channels_;
};

}  // namespace kestrine::dispatch
