#include "objects/module.h"

#include "objects/class_names.h"
#include "objects/command_classes.h"
#include "objects/connect_class.h"
#include "scripting/type_info.h"

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

}  // namespace

GenerationClasses::GenerationClasses(int number, dispatch::ProcessState& process)
    : number_(number), process_(process), shared_(make_shared()) {}

std::shared_ptr<Generation> GenerationClasses::make() {
  dispatch::CommandObjectFactory& factory = *this;
  return std::make_shared<Generation>(kIdentities[number_ - 1], process_, factory);
}

std::shared_ptr<Generation> GenerationClasses::make_shared() {
  return process_.rules().connections_stand_for_themselves ? nullptr : make();
}

std::shared_ptr<Generation> GenerationClasses::for_connection() {
  if (shared_ != nullptr) return shared_;
  std::shared_ptr<Generation> own = make();
  const std::lock_guard lock(mutex_);
  std::erase_if(latest_, [](const auto& each) { return each.second.expired(); });
  latest_[platform::this_thread()] = own;
  return own;
}

std::shared_ptr<Generation> GenerationClasses::for_command_object() {
  if (shared_ != nullptr) return shared_;
  const std::lock_guard lock(mutex_);
  const auto latest = latest_.find(platform::this_thread());
  std::shared_ptr<Generation> found = latest == latest_.end() ? nullptr : latest->second.lock();
  return found != nullptr ? found : make();
}

dispatch::CommandObject* GenerationClasses::create(dispatch::CommandSet set, Generation& generation) {
  const auto owner = generation.shared_from_this();
  if (set == dispatch::CommandSet::kSync) {
    if (number_ == 1) return new Sync(owner);
    return new Sync2(owner);
  }
  if (number_ == 1) return new Async(owner);
  return new Async2(owner);
}

template <class Class>
void Module::add(const CLSID& clsid, GenerationClasses& classes, OwnerOfNew owner) {
  class_objects_.emplace_back(clsid, process_, [this, &classes, owner](IUnknown* outer) {
    begin_anew_if_forked();
    return (new Class((classes.*owner)(), outer))->inner();
  });
}

void Module::begin_anew_if_forked() {
  if (const std::uint32_t now = platform::forks(); forks_.exchange(now) == now) return;
  process_.begin_anew();
  first_.begin_anew();
  second_.begin_anew();
}

Module::Module(const connection::Rules& rules) : process_(rules), first_(1, process_), second_(2, process_) {
  constexpr OwnerOfNew kConnection = &GenerationClasses::for_connection;
  constexpr OwnerOfNew kCommands = &GenerationClasses::for_command_object;
  add<Connect<ILTConnect>>(CLSID_LTConnect, first_, kConnection);
  add<Sync>(CLSID_LTCommandSync, first_, kCommands);
  add<Async>(CLSID_LTCommandAsync, first_, kCommands);
  add<Connect<ILTConnect2>>(CLSID_LTConnect2, second_, kConnection);
  add<Sync2>(CLSID_LTCommandSync2, second_, kCommands);
  add<Async2>(CLSID_LTCommandAsync2, second_, kCommands);
}

HRESULT Module::get_class_object(const CLSID& clsid, const IID& iid, void** object) {
  if (object == nullptr) return E_POINTER;
  *object = nullptr;
  for (ClassObject& each : class_objects_) {
    if (each.clsid() == clsid) return each.QueryInterface(iid, object);
  }
  return CLASS_E_CLASSNOTAVAILABLE;
}

HRESULT Module::can_unload_now() const {
  return process_.can_unload() && scripting::type_references == 0 ? S_OK : S_FALSE;
}

}  // namespace kestrine::objects
