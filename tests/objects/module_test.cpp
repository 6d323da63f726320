// Class objects, counting, aggregation, and what keeps the module loaded.
#include "objects/module.h"

#include <gtest/gtest.h>

#include <thread>

#include "environment.h"
#include "kestrine/interfaces.h"
#include "kestrine/object.h"
#include "kestrine/pointer.h"

namespace kestrine::test {
namespace {

const std::pair<CLSID, IID> kClasses[] = {
    {CLSID_LTConnect, IID_ILTConnect},           {CLSID_LTCommandSync, IID_ILTCommandSync},
    {CLSID_LTCommandAsync, IID_ILTCommandAsync}, {CLSID_LTConnect2, IID_ILTConnect2},
    {CLSID_LTCommandSync2, IID_ILTCommandSync2}, {CLSID_LTCommandAsync2, IID_ILTCommandAsync2}};

class Module : public testing::Test {
 protected:
  Pointer<IClassFactory> class_object(const CLSID& clsid) {
    Pointer<IClassFactory> factory;
    EXPECT_EQ(module.get_class_object(clsid, IID_IClassFactory, factory.put_void()), S_OK);
    return factory;
  }
  Pointer<IUnknown> create(const CLSID& clsid) {
    Pointer<IUnknown> object;
    EXPECT_EQ(class_object(clsid)->CreateInstance(nullptr, IID_IUnknown, object.put_void()), S_OK);
    return object;
  }

  Environment environment;
  objects::Module module{connection::kClassicRules};
};

TEST_F(Module, HasOneClassObjectForEachOfSixClasses) {
  for (const auto& [clsid, iid] : kClasses) {
    Pointer<IClassFactory> from_thread;
    std::thread([&, id = clsid] { from_thread = class_object(id); }).join();
    EXPECT_EQ(class_object(clsid).get(), from_thread.get());
    const auto support = create(clsid).query<ISupportErrorInfo>();
    ASSERT_TRUE(support);
    for (const auto& [other, each] : kClasses) {
      EXPECT_EQ(support->InterfaceSupportsErrorInfo(each), each == iid ? S_OK : S_FALSE) << "error information";
    }
  }
  void* object = &object;
  EXPECT_EQ(module.get_class_object(CLSID_LTConnect, IID_IDispatch, &object), E_NOINTERFACE);
  EXPECT_EQ(module.get_class_object(IID_IUnknown, IID_IClassFactory, &object), CLASS_E_CLASSNOTAVAILABLE);
  EXPECT_EQ(object, nullptr);
}

TEST_F(Module, StaysLoadedForObjectsAndForLocksButUnderAWebApplicationNotForASingleObject) {
  {
    const auto factory = class_object(CLSID_LTConnect);
    EXPECT_EQ(module.can_unload_now(), S_FALSE);
  }
  class_object(CLSID_LTConnect)->LockServer(1);
  EXPECT_EQ(module.can_unload_now(), S_FALSE);
  class_object(CLSID_LTConnect)->LockServer(0);
  EXPECT_EQ(module.can_unload_now(), S_OK);
  const auto kept = create(CLSID_LTCommandSync);
  for (const VARIANT_BOOL hosted : {VARIANT_BOOL{5}, VARIANT_FALSE}) {
    create(CLSID_LTConnect).query<ILTConnect>()->put_IsHostedByWebApplication(hosted);
    EXPECT_EQ(module.can_unload_now(), hosted != 0 ? S_OK : S_FALSE) << "its command objects have gone with it";
    const auto second = create(CLSID_LTCommandAsync);
    EXPECT_EQ(module.can_unload_now(), S_FALSE);
  }
}

TEST_F(Module, LendsItsObjectsToOuterOnes) {
  class Outer final : public Object<IUnknown> {};
  {
    const auto outer = Pointer<Outer>::adopt(new Outer);
    void* refused = nullptr;
    EXPECT_EQ(class_object(CLSID_LTConnect2)->CreateInstance(outer.get(), IID_ILTConnect2, &refused),
              CLASS_E_NOAGGREGATION);
    Pointer<IUnknown> inner;
    ASSERT_EQ(class_object(CLSID_LTConnect2)->CreateInstance(outer.get(), IID_IUnknown, inner.put_void()), S_OK);
    const auto connection = inner.query<IDispatch>();
    EXPECT_EQ(connection.query<IUnknown>().get(), outer.get()) << "the whole";
    EXPECT_EQ(outer->AddRef(), 3u) << "which counts for its parts";
    outer->Release();
  }
  EXPECT_EQ(module.can_unload_now(), S_OK);
}

}  // namespace
}  // namespace kestrine::test
