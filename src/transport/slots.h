// The process-wide state of one interface generation, and what both generations share. One object of each is
// made in component/ and handed down; nothing here owns a component.
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <string_view>
#include <vector>

#include "kestrine/component.h"
#include "transport/command_objects.h"

namespace kestrine::transport {

class CLTConnectBase;
class CMsgSink;
class CLTAPICommand;

// All that tells the generations apart.
struct Identity {
  int generation;  // 1 or 2
  const IID& connect;
  const IID& sync;
  const IID& async;
  const IID& sync_events;
  const IID& async_events;
  std::u16string_view connect_source;  // the program identifiers that failures carry
  std::u16string_view sync_source;
  std::u16string_view async_source;
};

// Shared by both generations.
struct ProcessState {
  bool objects_not_yet_fetched = true;       // cleared when an application first asks a connection for a command object
  bool web_hosted = false;                   // read when the module is asked whether it can be unloaded
  int claimed_generation = 0;                // 0: none yet
  std::atomic<std::int32_t> lock_count = 0;  // live objects and locks on class objects: reasons to stay loaded
};

// How a failure reaches the caller: events to the present objects, error information, perhaps an exception.
class ErrorReporter {
 public:
  // Returns `code`, or throws when `throws` is set. `connection` may be null: then no event is fired.
  virtual HRESULT RaiseError(CLTConnectBase* connection, std::u16string_view text, const IID& iid, HRESULT code,
                             bool throws, std::int32_t number) = 0;
  virtual HRESULT RaiseErrorFromResource(CLTConnectBase* connection, std::int32_t row, const IID& iid, HRESULT code,
                                         bool throws, std::int32_t number) = 0;
  // Error information for an answer with a bad status that nobody waited for; fires nothing.
  virtual HRESULT ReportAsyncAnswerError(AsyncCommands& object, std::int32_t command, std::int32_t status) = 0;
  // Error information alone.
  virtual void set_error_information(std::u16string_view text, std::u16string_view source, const IID& iid,
                                     std::int32_t number) = 0;

 protected:
  ~ErrorReporter() = default;
};

// The consumer of complete packets and of timer expiries (a null packet).
class PacketConsumer {
 public:
  virtual void DispatchPacket(CLTConnectBase& connection, const std::uint8_t* packet, std::int32_t capacity,
                              std::int32_t byte_count) = 0;

 protected:
  ~PacketConsumer() = default;
};

// Makes the command objects that a connection has for itself, each with one reference; null when it cannot.
class CommandObjectFactory {
 public:
  virtual SyncCommands* create_sync() = 0;
  virtual AsyncCommands* create_async() = 0;

 protected:
  ~CommandObjectFactory() = default;
};

struct Slots {
  Slots(const Identity& generation, ProcessState& shared);
  ~Slots();
  Slots(const Slots&) = delete;
  Slots& operator=(const Slots&) = delete;

  // The first generation claimed holds for the process; false for the other one.
  bool ClaimInterfaceGeneration();
  // Drops the command objects that the connection made for itself and nobody will use: both while the
  // application has fetched none, else (not at the connection's end) the one of the kind that is not in use.
  void ReleaseUnusedCommandObjects(CLTConnectBase& owner, bool final);
  void release_internal_sync();
  void release_internal_async();

  const Identity& identity;
  ProcessState& process;
  ErrorReporter* errors = nullptr;
  PacketConsumer* dispatcher = nullptr;
  CommandObjectFactory* factory = nullptr;

  CLTConnectBase* connection = nullptr;
  CMsgSink* message_sink = nullptr;
  CLTAPICommand* transport = nullptr;
  SyncCommands* internal_sync = nullptr;
  AsyncCommands* internal_async = nullptr;
  SyncCommands* current_sync = nullptr;
  AsyncCommands* current_async = nullptr;
  bool creating_internally = false;

  // Sinks and senders outlive their connections: they stay until the module goes, or until a later connection
  // finds them without one.
  std::vector<std::unique_ptr<CMsgSink>> sinks;
  std::vector<std::unique_ptr<CLTAPICommand>> senders;
};

}  // namespace kestrine::transport
