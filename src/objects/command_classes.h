// The command classes: typed operations, what performs them, and an event source, put together.
#pragma once

#include <memory>

#include "commands/async_commands.h"
#include "commands/sync_commands.h"
#include "commands/typed_methods.h"
#include "component_types/error_info.h"
#include "kestrine/interfaces.h"
#include "objects/component_object.h"
#include "objects/object_parts.h"
#include "platform/home.h"
#include "scripting/late_bound.h"

namespace kestrine {

template <class Interface>
struct InterfaceId<commands::TypedSyncMethods<Interface>> : InterfaceId<Interface> {};
template <class Interface>
struct InterfaceId<commands::TypedAsyncMethods<Interface>> : InterfaceId<Interface> {};

}  // namespace kestrine

namespace kestrine::objects {

// `Methods` are the typed operations, `Object` what performs them.
template <class Methods, class Object, const IID& EventInterface>
class CommandClass final : public ComponentObject<scripting::Offered<Methods>, ErrorInfoSupport<Methods>,
                                                  EventContainer<EventInterface>, ClassInfo<EventInterface>>,
                           public Object {
 public:
  explicit CommandClass(const std::shared_ptr<dispatch::Generation>& generation, IUnknown* outer = nullptr)
      : CommandClass::ComponentObject(generation->process(), outer), Object(generation) {
    this->enter();
  }

  IUnknown* unknown() override { return static_cast<Methods*>(this); }
  dispatch::EventSource& event_source() override { return this->source_; }

 private:
  ~CommandClass() override { this->leave(); }
  HRESULT call(int dispid, commands::Argument* arguments) override {
    if (!home_.is_here()) return RPC_E_WRONG_THREAD;
    return component_types::guarded([&] { return this->perform(dispid, arguments); });
  }

  const platform::Home home_;
};

template <class Interface, const IID& EventInterface>
using CommandSync = CommandClass<commands::TypedSyncMethods<Interface>, commands::SyncCommandObject, EventInterface>;
template <class Interface, const IID& EventInterface>
using CommandAsync = CommandClass<commands::TypedAsyncMethods<Interface>, commands::AsyncCommandObject, EventInterface>;

}  // namespace kestrine::objects
