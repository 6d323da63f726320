// The command objects of a generation: those that the connection made for itself, and those in use.
#pragma once

#include <array>

#include "connection/connection.h"
#include "dispatch/command_objects.h"
#include "dispatch/process_state.h"

namespace kestrine::dispatch {

class Generation;

// Makes the command objects that a connection has for itself, each with one reference.
class CommandObjectFactory {
 public:
  virtual CommandObject* create(CommandSet set, Generation& generation) = 0;

 protected:
  ~CommandObjectFactory() = default;
};

class CommandRoster {
 public:
  CommandRoster(int generation, ProcessState& process, CommandObjectFactory& factory)
      : generation_(generation), process_(process), factory_(factory) {}
  CommandRoster(const CommandRoster&) = delete;
  CommandRoster& operator=(const CommandRoster&) = delete;

  // Those in use; null where there is none.
  SyncCommands* sync() const { return static_cast<SyncCommands*>(place(CommandSet::kSync).current); }
  AsyncCommands* async() const { return static_cast<AsyncCommands*>(place(CommandSet::kAsync).current); }

  // A command object is complete, or about to be destroyed. `connection` is the one that it belongs to, null when there
  // is none.
  void enter(CommandObject& object, connection::Connection* connection);
  void leave(CommandObject& object);

  void create_internal(Generation& generation);
  void release_internal();
  // The connection's own object is the one in use from now on; null when there is none any more.
  CommandObject* fetch(CommandSet set);
  // The object makes a call, so it is the one whose wait must end.
  void use(CommandObject& object, connection::Connection& connection);
  // Drops those of the connection's own objects that nobody will use: both while the application has fetched none,
  // else (not at the connection's end) the one of the kind that is not in use. Where connections stand for themselves
  // that is known at the end only.
  void release_unused(const connection::Connection& owner, bool at_its_end);

 private:
  struct Place {
    CommandObject* current = nullptr;
    CommandObject* internal = nullptr;
  };

  Place& place(CommandSet set) { return places_[static_cast<std::size_t>(set)]; }
  const Place& place(CommandSet set) const { return places_[static_cast<std::size_t>(set)]; }
  void release_internal(CommandSet set);
  bool stands_alone() const { return process_.rules().connections_stand_for_themselves; }

  const int generation_;
  ProcessState& process_;
  CommandObjectFactory& factory_;
  std::array<Place, 2> places_;
  bool creating_internally_ = false;
};

}  // namespace kestrine::dispatch
