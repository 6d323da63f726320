// The library as one object: its interface generations, the classes that it offers, and whether it is in use.
#pragma once

#include <atomic>
#include <cstdint>
#include <deque>
#include <map>
#include <memory>
#include <mutex>

#include "dispatch/generation.h"
#include "kestrine/component.h"
#include "objects/class_object.h"
#include "platform/home.h"

namespace kestrine::objects {

// An interface generation with the classes of its objects, and what the objects of it belong to.
class GenerationClasses final : private dispatch::CommandObjectFactory {
 public:
  GenerationClasses(int number, dispatch::ProcessState& process);

  // From any thread. What a new connection belongs to: something of its own, where connections stand for themselves.
  std::shared_ptr<dispatch::Generation> for_connection();
  // What a command object belongs to that a program makes by itself: to the connection that its thread made last.
  std::shared_ptr<dispatch::Generation> for_command_object();
  // In a forked child, before it makes its first object: what there is belongs to the parent.
  void begin_anew() { shared_ = make_shared(); }

 private:
  dispatch::CommandObject* create(dispatch::CommandSet set, dispatch::Generation& generation) override;
  std::shared_ptr<dispatch::Generation> make();
  std::shared_ptr<dispatch::Generation> make_shared();

  const int number_;
  dispatch::ProcessState& process_;
  std::mutex mutex_;
  std::map<std::uint64_t, std::weak_ptr<dispatch::Generation>> latest_;  // by the thread that made the connection
  std::shared_ptr<dispatch::Generation> shared_;                         // null where connections stand for themselves
};

class Module {
 public:
  explicit Module(const connection::Rules& rules);

  // S_OK with the class object, CLASS_E_CLASSNOTAVAILABLE for a class that is not ours. From any thread.
  HRESULT get_class_object(const CLSID& clsid, const IID& iid, void** object);
  // S_OK when nobody can call into the library any more, and no loop will, else S_FALSE. From any thread; another one
  // may still be on its way out of the call that let go of the last reference.
  HRESULT can_unload_now() const;

 private:
  using OwnerOfNew = std::shared_ptr<dispatch::Generation> (GenerationClasses::*)();

  template <class Class>
  void add(const CLSID& clsid, GenerationClasses& classes, OwnerOfNew owner);
  void begin_anew_if_forked();

  dispatch::ProcessState process_;
  GenerationClasses first_;
  GenerationClasses second_;
  std::atomic<std::uint32_t> forks_ = platform::forks();  // when the latest object was made
  std::deque<ClassObject> class_objects_;
};

}  // namespace kestrine::objects
