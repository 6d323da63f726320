#include "transport/slots.h"

#include <utility>

#include "transport/command_sender.h"
#include "transport/connection.h"
#include "transport/message_sink.h"

namespace kestrine::transport {

Slots::Slots(const Identity& generation, ProcessState& shared) : identity(generation), process(shared) {}

Slots::~Slots() = default;

bool Slots::ClaimInterfaceGeneration() {
  if (process.claimed_generation == 0) process.claimed_generation = identity.generation;
  return process.claimed_generation == identity.generation;
}

void Slots::release_internal_sync() {
  // The slot is empty before the release, which may run code that comes back here.
  if (SyncCommands* object = std::exchange(internal_sync, nullptr)) {
    object->retire();
    object->unknown()->Release();
  }
}

void Slots::release_internal_async() {
  if (AsyncCommands* object = std::exchange(internal_async, nullptr)) {
    object->retire();
    object->unknown()->Release();
  }
}

void Slots::ReleaseUnusedCommandObjects(CLTConnectBase& owner, bool final) {
  if (process.objects_not_yet_fetched) {
    release_internal_sync();
    release_internal_async();
  } else if (!final && owner.sync_present != owner.async_present) {
    owner.sync_present ? release_internal_async() : release_internal_sync();
  }
}

}  // namespace kestrine::transport
