// The command classes: engine or dispatcher state, an interface family and an event source, put together.
#pragma once

#include "async/senders.h"
#include "commands/typed_methods.h"
#include "component/class_info.h"
#include "component/component_object.h"
#include "component/object_parts.h"
#include "kestrine/interfaces.h"
#include "scripting/late_bound.h"
#include "sync/operations.h"

namespace kestrine {

template <class Interface>
struct InterfaceId<commands::TypedSyncMethods<Interface>> : InterfaceId<Interface> {};
template <class Interface>
struct InterfaceId<commands::TypedAsyncMethods<Interface>> : InterfaceId<Interface> {};

}  // namespace kestrine

namespace kestrine::component {

template <class Interface, const IID& EventInterface>
class CommandSync final
    : public ComponentObject<scripting::Offered<commands::TypedSyncMethods<Interface>>, ErrorInfoSupport<Interface>,
                             EventContainer<events::CProxy_ILTCommandSyncEvents, EventInterface>,
                             ClassInfo<EventInterface>>,
      public sync::CLTCommandSyncBase {
 public:
  explicit CommandSync(transport::Slots& generation, IUnknown* outer = nullptr)
      : CommandSync::ComponentObject(generation.process, outer), CLTCommandSyncBase(generation) {
    enter();
  }

  IUnknown* unknown() override { return static_cast<Interface*>(this); }
  events::CProxy_ILTCommandSyncEvents& event_source() override { return this->source_; }

 private:
  ~CommandSync() override { leave(); }
  HRESULT call(int dispid, commands::Argument* arguments) override { return perform(dispid, arguments); }
};

template <class Interface, const IID& EventInterface>
class CommandAsync final
    : public ComponentObject<scripting::Offered<commands::TypedAsyncMethods<Interface>>, ErrorInfoSupport<Interface>,
                             EventContainer<events::CProxy_ILTCommandAsyncEvents, EventInterface>,
                             ClassInfo<EventInterface>>,
      public async::CLTCommandAsyncBase {
 public:
  explicit CommandAsync(transport::Slots& generation, IUnknown* outer = nullptr)
      : CommandAsync::ComponentObject(generation.process, outer), CLTCommandAsyncBase(generation) {
    enter();
  }

  IUnknown* unknown() override { return static_cast<Interface*>(this); }
  events::CProxy_ILTCommandAsyncEvents& event_source() override { return this->source_; }

 private:
  ~CommandAsync() override { leave(); }
  HRESULT call(int dispid, commands::Argument* arguments) override { return perform(dispid, arguments); }
};

using CLTCommandSync = CommandSync<ILTCommandSync, DIID__ILTCommandSyncEvents>;
using CLTCommandAsync = CommandAsync<ILTCommandAsync, DIID__ILTCommandAsyncEvents>;
using CLTCommandSync2 = CommandSync<ILTCommandSync2, DIID__ILTCommandSync2Events>;
using CLTCommandAsync2 = CommandAsync<ILTCommandAsync2, DIID__ILTCommandAsync2Events>;

}  // namespace kestrine::component
