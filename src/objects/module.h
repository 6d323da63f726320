// The library as one object: its interface generations, the classes that it offers, and whether it is in use.
#pragma once

#include <deque>

#include "dispatch/generation.h"
#include "kestrine/component.h"
#include "objects/class_object.h"

namespace kestrine::objects {

// A generation with the classes of its objects.
class GenerationClasses final : private dispatch::CommandObjectFactory {
 public:
  GenerationClasses(int number, dispatch::ProcessState& process);

  dispatch::Generation& generation() { return generation_; }

 private:
  dispatch::CommandObject* create(dispatch::CommandSet set) override;

  dispatch::Generation generation_;
};

class Module {
 public:
  Module();

  // S_OK with the class object, CLASS_E_CLASSNOTAVAILABLE for a class that is not ours. From any thread.
  HRESULT get_class_object(const CLSID& clsid, const IID& iid, void** object);
  // S_OK when nothing of the module is in use, else S_FALSE.
  HRESULT can_unload_now() const { return process_.can_unload() ? S_OK : S_FALSE; }

 private:
  dispatch::ProcessState process_;
  GenerationClasses first_;
  GenerationClasses second_;
  std::deque<ClassObject> class_objects_;
};

}  // namespace kestrine::objects
