#include "component/module.h"

#include <memory>
#include <mutex>

#include "component/class_object.h"
#include "component/class_rows.h"
#include "component/command_objects.h"
#include "component/connect_object.h"

namespace kestrine::component {

const transport::Identity kFirstGeneration{
    1,
    IID_ILTConnect,
    IID_ILTCommandSync,
    IID_ILTCommandAsync,
    DIID__ILTCommandSyncEvents,
    DIID__ILTCommandAsyncEvents,
    class_named(u"LTConnect").versioned_program,
    class_named(u"LTCommandSync").versioned_program,
    class_named(u"LTCommandAsync").versioned_program,
};

const transport::Identity kSecondGeneration{
    2,
    IID_ILTConnect2,
    IID_ILTCommandSync2,
    IID_ILTCommandAsync2,
    DIID__ILTCommandSync2Events,
    DIID__ILTCommandAsync2Events,
    class_named(u"LTConnect2").versioned_program,
    class_named(u"LTCommandSync2").versioned_program,
    class_named(u"LTCommandAsync2").versioned_program,
};

namespace {

template <class Class>
IUnknown* create(transport::Slots& slots, IUnknown* outer) {
  return (new Class(slots, outer))->inner();
}

struct ClassRow {
  const CLSID& clsid;
  Generation Module::*generation;
  Creator create;
};

const ClassRow kClasses[] = {
    {CLSID_LTConnect, &Module::first, create<CLTConnect>},
    {CLSID_LTCommandSync, &Module::first, create<CLTCommandSync>},
    {CLSID_LTCommandAsync, &Module::first, create<CLTCommandAsync>},
    {CLSID_LTConnect2, &Module::second, create<CLTConnect2>},
    {CLSID_LTCommandSync2, &Module::second, create<CLTCommandSync2>},
    {CLSID_LTCommandAsync2, &Module::second, create<CLTCommandAsync2>},
};

ClassObject& class_object(const ClassRow& row) {
  static std::mutex making;
  static ClassObject* made[std::size(kClasses)] = {};
  const std::lock_guard lock(making);
  ClassObject*& cached = made[&row - kClasses];
  if (cached == nullptr) cached = new ClassObject((module().*row.generation).slots, row.create);
  return *cached;
}

}  // namespace

Generation::Generation(const transport::Identity& identity, transport::ProcessState& process)
    : slots(identity, process), errors_(slots), dispatcher_(slots) {
  slots.errors = &errors_;
  slots.dispatcher = &dispatcher_;
  slots.factory = this;
}

transport::SyncCommands* Generation::create_sync() {
  if (slots.identity.generation == 1) return new CLTCommandSync(slots);
  return new CLTCommandSync2(slots);
}

transport::AsyncCommands* Generation::create_async() {
  if (slots.identity.generation == 1) return new CLTCommandAsync(slots);
  return new CLTCommandAsync2(slots);
}

Module::Module() : first(kFirstGeneration, process), second(kSecondGeneration, process) {}

Module& module() {
  static auto* const made = new Module;
  return *made;
}

HRESULT get_class_object(const CLSID& clsid, const IID& iid, void** object) {
  if (object == nullptr) return E_POINTER;
  *object = nullptr;
  for (const ClassRow& row : kClasses) {
    if (row.clsid == clsid) return class_object(row).QueryInterface(iid, object);
  }
  return CLASS_E_CLASSNOTAVAILABLE;
}

HRESULT can_unload_now() {
  const transport::ProcessState& process = module().process;
  const std::int32_t locks = process.lock_count;
  return locks == 0 || (locks == 1 && process.web_hosted) ? S_OK : S_FALSE;
}

}  // namespace kestrine::component
