#include "component/module.h"

#include <new>

#include "component/command_objects.h"
#include "component/connect_object.h"
#include "kestrine/pointer.h"

namespace kestrine::component {

const transport::Identity kFirstGeneration{
    1,
    IID_ILTConnect,
    IID_ILTCommandSync,
    IID_ILTCommandAsync,
    DIID__ILTCommandSyncEvents,
    DIID__ILTCommandAsyncEvents,
    u"Kestrine.LTConnect.1",
    u"Kestrine.LTCommandSync.1",
    u"Kestrine.LTCommandAsync.1",
};

namespace {

IUnknown* create_connect() {
  return (new CLTConnect(module().first.slots))->unknown();
}

IUnknown* create_command_sync() {
  return (new CLTCommandSync(module().first.slots))->unknown();
}

IUnknown* create_command_async() {
  return (new CLTCommandAsync(module().first.slots))->unknown();
}

struct ClassRow {
  const CLSID& clsid;
  IUnknown* (*create)();
};

const ClassRow kClasses[] = {
    {CLSID_LTConnect, create_connect},
    {CLSID_LTCommandSync, create_command_sync},
    {CLSID_LTCommandAsync, create_command_async},
};

class ClassObject final : public Object<IClassFactory> {
 public:
  explicit ClassObject(const ClassRow& row) : row_(row) {}

  HRESULT CreateInstance(IUnknown* outer, const IID& iid, void** object) override {
    if (object == nullptr) return E_POINTER;
    *object = nullptr;
    if (outer != nullptr) return CLASS_E_NOAGGREGATION;
    try {
      const auto made = Pointer<IUnknown>::adopt(row_.create());
      return made->QueryInterface(iid, object);
    } catch (const std::bad_alloc&) {
      return E_OUTOFMEMORY;
    }
  }
  HRESULT LockServer(BOOL) override { return S_OK; }

 private:
  const ClassRow& row_;
};

}  // namespace

Generation::Generation(const transport::Identity& identity, transport::ProcessState& process)
    : slots(identity, process), errors_(slots), dispatcher_(slots) {
  slots.errors = &errors_;
  slots.dispatcher = &dispatcher_;
  slots.factory = this;
}

transport::SyncCommands* Generation::create_sync() {
  return new CLTCommandSync(slots);
}

transport::AsyncCommands* Generation::create_async() {
  return new CLTCommandAsync(slots);
}

Module::Module() : first(kFirstGeneration, process) {}

Module& module() {
  static auto* const made = new Module;
  return *made;
}

HRESULT get_class_object(const CLSID& clsid, const IID& iid, void** object) {
  if (object == nullptr) return E_POINTER;
  *object = nullptr;
  for (const ClassRow& row : kClasses) {
    if (row.clsid == clsid) return Pointer<IUnknown>::adopt(new ClassObject(row))->QueryInterface(iid, object);
  }
  return CLASS_E_CLASSNOTAVAILABLE;
}

}  // namespace kestrine::component
