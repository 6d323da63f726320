// The library's side of a comparison: a connected synchronous object.
#pragma once

#include <cstdint>

#include "kestrine/kestrine.h"

namespace kestrine::bench {

struct LibraryClient {
  LibraryClient(std::uint16_t port, bool early_wake) : connection(create<ILTConnect>(CLSID_LTConnect)) {
    host::set_early_wake(early_wake);
    BSTR address = SysAllocString(u"127.0.0.1");
    const HRESULT connected = connection->ConnectEmbeddedSystem(address, port);
    SysFreeString(address);
    check(connected);
    Pointer<IUnknown> object;
    check(connection->get_ILTCommandSync(object.put()));
    sync = object.query<ILTCommandSync>();
  }
  ~LibraryClient() { connection->DisconnectEmbeddedSystem(); }
  LibraryClient(const LibraryClient&) = delete;
  LibraryClient& operator=(const LibraryClient&) = delete;

  Pointer<ILTConnect> connection;
  Pointer<ILTCommandSync> sync;
};

}  // namespace kestrine::bench
