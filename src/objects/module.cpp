#include "objects/module.h"

#include "objects/class_names.h"
#include "objects/command_classes.h"
#include "objects/connect_class.h"

namespace kestrine::objects {
namespace {

using dispatch::Generation, dispatch::Identity;

const Identity kIdentities[] = {
    {1, IID_ILTConnect, IID_ILTCommandSync, IID_ILTCommandAsync, class_named(u"LTConnect").versioned_program,
     class_named(u"LTCommandSync").versioned_program, class_named(u"LTCommandAsync").versioned_program},
    {2, IID_ILTConnect2, IID_ILTCommandSync2, IID_ILTCommandAsync2, class_named(u"LTConnect2").versioned_program,
     class_named(u"LTCommandSync2").versioned_program, class_named(u"LTCommandAsync2").versioned_program},
};

using Sync = CommandSync<ILTCommandSync, DIID__ILTCommandSyncEvents>;
using Sync2 = CommandSync<ILTCommandSync2, DIID__ILTCommandSync2Events>;
using Async = CommandAsync<ILTCommandAsync, DIID__ILTCommandAsyncEvents>;
using Async2 = CommandAsync<ILTCommandAsync2, DIID__ILTCommandAsync2Events>;

template <class Class>
IUnknown* create(Generation& generation, IUnknown* outer) {
  return (new Class(generation, outer))->inner();
}

}  // namespace

GenerationClasses::GenerationClasses(int number, dispatch::ProcessState& process)
    : generation_(kIdentities[number - 1], process, *this) {}

dispatch::CommandObject* GenerationClasses::create(dispatch::CommandSet set) {
  const bool first = generation_.identity().generation == 1;
  if (set == dispatch::CommandSet::kSync) {
    if (first) return new Sync(generation_);
    return new Sync2(generation_);
  }
  if (first) return new Async(generation_);
  return new Async2(generation_);
}

Module::Module() : first_(1, process_), second_(2, process_) {
  Generation& first = first_.generation();
  Generation& second = second_.generation();
  class_objects_.emplace_back(CLSID_LTConnect, first, objects::create<Connect<ILTConnect>>);
  class_objects_.emplace_back(CLSID_LTCommandSync, first, objects::create<Sync>);
  class_objects_.emplace_back(CLSID_LTCommandAsync, first, objects::create<Async>);
  class_objects_.emplace_back(CLSID_LTConnect2, second, objects::create<Connect<ILTConnect2>>);
  class_objects_.emplace_back(CLSID_LTCommandSync2, second, objects::create<Sync2>);
  class_objects_.emplace_back(CLSID_LTCommandAsync2, second, objects::create<Async2>);
}

HRESULT Module::get_class_object(const CLSID& clsid, const IID& iid, void** object) {
  if (object == nullptr) return E_POINTER;
  *object = nullptr;
  for (ClassObject& each : class_objects_) {
    if (each.clsid() == clsid) return each.QueryInterface(iid, object);
  }
  return CLASS_E_CLASSNOTAVAILABLE;
}

}  // namespace kestrine::objects
