// The enumerators of the event protocol: a copy of what there is at the moment of asking, held by references, as is
// the object that was asked: like it, an enumerator keeps the library loaded.
#pragma once

#include <algorithm>
#include <utility>
#include <vector>

#include "component_types/error_info.h"
#include "kestrine/component.h"
#include "kestrine/object.h"
#include "kestrine/pointer.h"
#include "platform/home.h"

namespace kestrine::dispatch {

inline IUnknown* held_by(const CONNECTDATA& connection) {
  return connection.pUnk;
}
inline IUnknown* held_by(IConnectionPoint* point) {
  return point;
}

template <class Interface, class Item>
class Enumerator final : public Object<Interface> {
 public:
  Enumerator(IUnknown& owner, std::vector<Item> items, std::size_t next)
      : owner_(&owner), items_(std::move(items)), next_(next) {
    for (const Item& item : items_) held_by(item)->AddRef();
  }

  HRESULT QueryInterface(const IID& iid, void** object) override {
    if (home_.is_here()) return Object<Interface>::QueryInterface(iid, object);
    if (object != nullptr) *object = nullptr;
    return RPC_E_WRONG_THREAD;
  }
  ULONG AddRef() override { return home_.is_here() ? Object<Interface>::AddRef() : 1; }
  ULONG Release() override { return home_.is_here() ? Object<Interface>::Release() : 1; }

  // As many as were asked for: S_OK; fewer: S_FALSE. `fetched` may be null when one is asked for.
  HRESULT Next(ULONG count, Item* items, ULONG* fetched) override {
    if (!home_.is_here()) return RPC_E_WRONG_THREAD;
    if (fetched != nullptr) *fetched = 0;
    if (items == nullptr || (fetched == nullptr && count != 1)) return E_POINTER;
    const auto handed = static_cast<ULONG>(std::min<std::size_t>(count, items_.size() - next_));
    for (ULONG i = 0; i < handed; ++i) {
      items[i] = items_[next_++];
      held_by(items[i])->AddRef();
    }
    if (fetched != nullptr) *fetched = handed;
    return handed == count ? S_OK : S_FALSE;
  }
  HRESULT Skip(ULONG count) override {
    if (!home_.is_here()) return RPC_E_WRONG_THREAD;
    const bool enough = count <= items_.size() - next_;
    next_ = enough ? next_ + count : items_.size();
    return enough ? S_OK : S_FALSE;
  }
  HRESULT Reset() override {
    if (!home_.is_here()) return RPC_E_WRONG_THREAD;
    next_ = 0;
    return S_OK;
  }
  HRESULT Clone(Interface** copy) override {
    if (!home_.is_here()) return RPC_E_WRONG_THREAD;
    return create(
        *owner_, [this] { return items_; }, next_, copy);
  }

  // `list` gives the items, of which the first to be handed out is `next`.
  template <class List>
  static HRESULT create(IUnknown& owner, List list, std::size_t next, Interface** place) {
    if (place == nullptr) return E_POINTER;
    *place = nullptr;
    return component_types::guarded([&] {
      *place = new Enumerator(owner, list(), next);
      return S_OK;
    });
  }

 private:
  ~Enumerator() override {
    for (const Item& item : items_) held_by(item)->Release();
  }

  const platform::Home home_;
  const Pointer<IUnknown> owner_;
  std::vector<Item> items_;
  std::size_t next_;
};

using ConnectionEnumerator = Enumerator<IEnumConnections, CONNECTDATA>;
using PointEnumerator = Enumerator<IEnumConnectionPoints, IConnectionPoint*>;

}  // namespace kestrine::dispatch
