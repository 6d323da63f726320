#include "objects/connect_base.h"

#include <span>
#include <string>

#include "connection/byte_arrays.h"
#include "connection/packet_access.h"
#include "kestrine/text.h"
#include "platform/notices.h"
#include "platform/version.h"

namespace kestrine::objects {

using dispatch::CommandObject, dispatch::CommandSet;

void ConnectBase::leave() {
  if (link().is_connected()) link().close(generation_.window());
  generation_.detach(*this);
}

HRESULT ConnectBase::fail(const protocol::Error& failure, HRESULT code) {
  return generation_.errors().raise(this, failure, generation_.identity().connect, code, throws());
}

HRESULT ConnectBase::fetch_commands(CommandSet set, IUnknown** object) {
  if (object == nullptr) return E_POINTER;
  *object = nullptr;
  CommandObject* const commands = generation_.objects().fetch(set);
  if (commands == nullptr) return fail(protocol::error::kNoCommandObject);
  const HRESULT result = commands->unknown()->QueryInterface(IID_IUnknown, reinterpret_cast<void**>(object));
  if (FAILED(result)) return fail(protocol::error::kQueryInterface, result);
  mark_used_by(set);
  return result;
}

HRESULT ConnectBase::connect(BSTR address, std::int32_t port) {
  if (platform::is_legacy_non_unicode_system()) {
    platform::show_message_box(u"UNICODE not supported for Windows 98/ME. Use ANSI version of Kestrine DLL.", u"",
                               platform::kIconStop);
    return S_FALSE;
  }
  if (link().is_connected()) return fail(protocol::error::kAlreadyConnected);
  connection::Channel* const channel = generation_.channel();
  if (channel == nullptr || !platform::is_window(channel->window())) return fail(protocol::error::kNoSink);
  const std::string name = address == nullptr ? std::string() : to_utf8({address, SysStringLen(address)});
  const protocol::Error* const failure = channel->connect(*this, name, static_cast<std::uint16_t>(port));
  return failure == nullptr ? S_OK : fail(*failure);
}

HRESULT ConnectBase::disconnect() {
  if (!link().is_connected()) return S_OK;
  const bool closed = link().close(generation_.window());
  // By a handler, while a call waits.
  dispatch::SyncCommands* const sync = generation_.objects().sync();
  if (rules().trouble_always_ends_waits && sync != nullptr) sync->cancel_wait();
  return closed ? S_OK : fail(protocol::error::kCloseFailed);
}

HRESULT ConnectBase::select_notification(KR_NotifyMethod method, std::int32_t target_handle, std::int32_t cookie) {
  if (target_handle != 0) return fail(protocol::error::kTargetHandle);
  set_notification({method, cookie});
  return S_OK;
}

HRESULT ConnectBase::copy_latest_packet(VARIANT* data) {
  if (data == nullptr) return E_POINTER;
  // A fresh array for every call: the caller destroys it when it likes.
  return connection::put_byte_array(buffers().latest(), *data) ? S_OK : fail(protocol::error::kByteArray);
}

HRESULT ConnectBase::extract_image(const VARIANT* packet, std::int32_t* size, VARIANT* file) {
  if (size == nullptr || file == nullptr) return E_POINTER;
  std::span<const std::uint8_t> image;
  if (const protocol::Error* failure = connection::find_image(packet, image)) return fail(*failure);
  *size = static_cast<std::int32_t>(image.size());
  VariantInit(file);
  file->vt = VT_ARRAY | VT_UI1;  // also of an array that cannot be made
  file->parray = connection::make_byte_array(image);
  return file->parray == nullptr ? fail(protocol::error::kByteArray) : S_OK;
}

}  // namespace kestrine::objects
