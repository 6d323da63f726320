// The command classes: engine or dispatcher state, an interface family and an event source, put together.
#pragma once

#include "async/senders.h"
#include "commands/typed_methods.h"
#include "component/object_parts.h"
#include "kestrine/interfaces.h"
#include "kestrine/object.h"
#include "sync/operations.h"

namespace kestrine {

template <class Interface>
struct InterfaceId<commands::TypedSyncMethods<Interface>> : InterfaceId<Interface> {};
template <class Interface>
struct InterfaceId<commands::TypedAsyncMethods<Interface>> : InterfaceId<Interface> {};

}  // namespace kestrine

namespace kestrine::component {

template <class Interface, const IID& EventInterface>
class CommandSync final : public Object<commands::TypedSyncMethods<Interface>, ErrorInfoSupport<Interface>,
                                        EventContainer<events::CProxy_ILTCommandSyncEvents, EventInterface>>,
                          public sync::CLTCommandSyncBase {
 public:
  explicit CommandSync(transport::Slots& generation) : CLTCommandSyncBase(generation) { enter(); }

  IUnknown* unknown() override { return static_cast<Interface*>(this); }
  events::CProxy_ILTCommandSyncEvents& event_source() override { return this->source_; }

 private:
  ~CommandSync() override { leave(); }
  HRESULT call(int dispid, commands::Argument* arguments) override { return perform(dispid, arguments); }
};

template <class Interface, const IID& EventInterface>
class CommandAsync final : public Object<commands::TypedAsyncMethods<Interface>,
                                         EventContainer<events::CProxy_ILTCommandAsyncEvents, EventInterface>>,
                           public async::CLTCommandAsyncBase {
 public:
  explicit CommandAsync(transport::Slots& generation) : CLTCommandAsyncBase(generation) { enter(); }

  IUnknown* unknown() override { return static_cast<Interface*>(this); }
  events::CProxy_ILTCommandAsyncEvents& event_source() override { return this->source_; }

 private:
  ~CommandAsync() override { leave(); }
  HRESULT call(int dispid, commands::Argument* arguments) override { return perform(dispid, arguments); }
};

using CLTCommandSync = CommandSync<ILTCommandSync, DIID__ILTCommandSyncEvents>;
using CLTCommandAsync = CommandAsync<ILTCommandAsync, DIID__ILTCommandAsyncEvents>;

}  // namespace kestrine::component
