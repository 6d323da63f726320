#include "platform/behaviour.h"

#include <cstdlib>
#include <mutex>
#include <optional>
#include <string_view>

#include "platform/notices.h"

namespace kestrine {
namespace {

using host::Behaviour;

// A misspelt choice must not pass for the other one in silence.
std::optional<Behaviour> choice_of_environment() {
  const char* const value = std::getenv("KESTRINE_BEHAVIOUR");
  const std::string_view choice = value == nullptr ? "" : value;
  if (choice == "classic") return Behaviour::kClassic;
  if (choice == "modern") return Behaviour::kModern;
  if (!choice.empty()) {
    platform::show_message_box(u"KESTRINE_BEHAVIOUR is neither \"classic\" nor \"modern\", and ignored", u"Kestrine",
                               platform::kIconExclamation);
  }
  return std::nullopt;
}

class Choice {
 public:
  bool set(Behaviour behaviour) {
    const std::lock_guard lock(mutex_);
    if (!fixed_) behaviour_ = behaviour;
    return behaviour_ == behaviour;
  }
  Behaviour get() {
    const std::lock_guard lock(mutex_);
    return behaviour_;
  }
  Behaviour fix() {
    const std::lock_guard lock(mutex_);
    fixed_ = true;
    return behaviour_;
  }

 private:
  std::mutex mutex_;
  const std::optional<Behaviour> environment_ = choice_of_environment();
  Behaviour behaviour_ = environment_.value_or(Behaviour::kClassic);
  bool fixed_ = environment_.has_value();
};

// Never destroyed: static objects may ask late.
Choice& choice() {
  static Choice& one = *new Choice;
  return one;
}

}  // namespace

namespace host {

bool set_behaviour(Behaviour behaviour) {
  return choice().set(behaviour);
}

Behaviour behaviour() {
  return choice().get();
}

}  // namespace host

host::Behaviour platform::fix_behaviour() {
  return choice().fix();
}

}  // namespace kestrine
