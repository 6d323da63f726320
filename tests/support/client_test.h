// What tests of inner parts stand in: a connection of a generation of its own, its command objects, and everything that
// their sinks hear, as lines of text.
#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "commands/sync_commands.h"
#include "environment.h"
#include "kestrine/com_error.h"
#include "kestrine/object.h"
#include "kestrine/pointer.h"
#include "objects/command_classes.h"
#include "objects/connect_class.h"
#include "objects/module.h"
#include "platform/loop.h"
#include "scripted_peer.h"

namespace kestrine::test {

using Lines = std::vector<std::string>;
using Connect = objects::Connect<ILTConnect>;
using SyncObject = objects::CommandSync<ILTCommandSync, DIID__ILTCommandSyncEvents>;
using AsyncObject = objects::CommandAsync<ILTCommandAsync, DIID__ILTCommandAsyncEvents>;

// Writes every event down as "sync StatusChangeEvent 17", texts in quotes and raw flags after a b.
class Listener final : public Object<IDispatch> {
 public:
  Listener(const IID& events, std::string name, Lines& lines) : events_(events), name_(name), lines_(lines) {}

  HRESULT GetTypeInfoCount(UINT*) override { return E_NOTIMPL; }
  HRESULT GetTypeInfo(UINT, LCID, ITypeInfo**) override { return E_NOTIMPL; }
  HRESULT GetIDsOfNames(REFIID, LPOLESTR*, UINT, LCID, DISPID*) override { return E_NOTIMPL; }
  HRESULT Invoke(DISPID id, REFIID reserved, LCID locale, WORD flags, DISPPARAMS* arguments, VARIANT* result,
                 EXCEPINFO* exception, UINT* bad_argument) override;

  std::function<HRESULT(DISPID)> handler;  // runs once the event has been written down

 private:
  void* find_interface(const IID& iid) override {
    return iid == events_ ? static_cast<IDispatch*>(this) : Object::find_interface(iid);
  }

  const IID& events_;
  std::string name_;
  Lines& lines_;
};

class ClientTest : public testing::Test, private platform::WindowProcedure {
 protected:
  enum Objects { kSync = 1, kAsync = 2, kBoth = kSync | kAsync };

  // Classic behaviour, but for the naps of its waits.
  static constexpr connection::Rules kQuickClassic{.wakes_when_due = true};

  explicit ClientTest(const connection::Rules& rules = kQuickClassic);
  ~ClientTest() override;

  void set_timeout(std::u16string_view key, int milliseconds) {
    environment.set(key, milliseconds, u"SyncCommandTimeouts");
  }
  // Makes the connection and fetches its command objects; a listener hears each of them.
  void make(Objects objects = kSync);
  // Command objects that go younger are taken for a sign of mixed generations.
  static void outlive_the_suspicion();
  void connect();
  void start(Objects objects = kSync) { make(objects), connect(); }

  // Has the server send the packet, and waits until the connection has received it, or has gone.
  void receive(const Bytes& packet);
  // What GetData gives.
  Bytes data();
  // Dispatches the packet as if it had been received; a capacity below 0 stands for that of its buffer.
  void deliver(Bytes packet, int capacity = -1, int received = -1);
  // Runs the task from inside the message loop: with the next messages, or after so many milliseconds.
  void later(std::function<void()> task, int milliseconds = 0);
  void forget_tasks() { tasks_.clear(); }
  // What a call came to: "ok", or status code, number, source and text.
  static std::string told(HRESULT result);
  // The same of a call that may throw.
  template <class Call>
  static std::string outcome(Call call) {
    try {
      return told(call());
    } catch (const _com_error& error) {
      return "thrown " + told(error.Error());
    }
  }
  // The words of the next request from the given offset on.
  std::vector<std::int32_t> sent(std::size_t offset = 8);

  commands::SyncCommandObject& engine() { return static_cast<SyncObject&>(*generation.objects().sync()); }
  // The lines so far, which are taken out.
  Lines heard() { return std::exchange(lines_, {}); }
  // The same once there are so many; fails the test when there are not in time.
  Lines heard_in_time(std::size_t count);
  Pointer<Listener> listen(IUnknown& source, const IID& events, const std::string& name);

  Environment environment;
  ScriptedPeer peer;
  dispatch::ProcessState process;
  objects::GenerationClasses classes{1, process};
  const std::shared_ptr<dispatch::Generation> keep_generation = classes.for_connection();
  dispatch::Generation& generation = *keep_generation;
  Pointer<Connect> connection;
  Pointer<ILTCommandSync> commands;
  Pointer<ILTCommandAsync> async_commands;
  Pointer<Listener> sync_listener;
  Pointer<Listener> async_listener;

 private:
  std::int64_t on_message(const platform::Message& message) override;

  Lines lines_;
  platform::WindowHandle window_;
  std::map<std::uint64_t, std::function<void()>> tasks_;
  std::uint64_t next_task_ = 1;
};

inline bool is_modern(const connection::Rules& rules) {
  return rules.connections_stand_for_themselves;
}
inline std::string behaviour_name(const testing::TestParamInfo<connection::Rules>& rules) {
  return is_modern(rules.param) ? "Modern" : "Classic";
}
inline const auto kBehaviours = testing::Values(connection::kClassicRules, connection::kModernRules);

class BothBehaviours : public ClientTest, public testing::WithParamInterface<connection::Rules> {
 protected:
  BothBehaviours() : ClientTest(GetParam()) {}
};

}  // namespace kestrine::test
