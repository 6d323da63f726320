// The module: the process-wide state of the library, and the classes that it can create.
#pragma once

#include "async/dispatcher.h"
#include "component/error_reporting.h"
#include "kestrine/component.h"
#include "transport/slots.h"

namespace kestrine::component {

extern const transport::Identity kFirstGeneration;
extern const transport::Identity kSecondGeneration;

// Slots of one interface generation with everything that hangs on them.
class Generation final : private transport::CommandObjectFactory {
 public:
  Generation(const transport::Identity& identity, transport::ProcessState& process);

  transport::Slots slots;

 private:
  transport::SyncCommands* create_sync() override;
  transport::AsyncCommands* create_async() override;

  ErrorReporting errors_;
  async::Dispatcher dispatcher_;
};

struct Module {
  transport::ProcessState process;
  Generation first;
  Generation second;

  Module();
};

// Made on first use and never destroyed: objects that an application keeps in its own static storage may be
// released after everything of ours would have gone.
Module& module();

// S_OK with the class object, CLASS_E_CLASSNOTAVAILABLE for a class that is not ours. Class objects are made on first
// use, also when threads ask at the same time, and kept.
HRESULT get_class_object(const CLSID& clsid, const IID& iid, void** object);

// S_OK when nothing of the module is in use. A host that says it is a web application may unload it with one object or
// lock left: the connection that it keeps.
HRESULT can_unload_now();

}  // namespace kestrine::component
