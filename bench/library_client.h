// The library's side of a comparison: a connected synchronous object.
#pragma once

#include <cstdint>

#include "kestrine/kestrine.h"

namespace kestrine::bench {

struct LibraryClient {
  explicit LibraryClient(std::uint16_t port) : connection(create<ILTConnect>(CLSID_LTConnect)) {
    check(connection->ConnectEmbeddedSystem(Text("127.0.0.1"), port));
    sync = command_sync(*connection);
  }
  ~LibraryClient() { connection->DisconnectEmbeddedSystem(); }
  LibraryClient(const LibraryClient&) = delete;
  LibraryClient& operator=(const LibraryClient&) = delete;

  Pointer<ILTConnect> connection;
  Pointer<ILTCommandSync> sync;
};

}  // namespace kestrine::bench
