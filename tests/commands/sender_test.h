// A client with an asynchronous object, and how its operations are called and what they come to.
#pragma once

#include <string>

#include "client_test.h"
#include "kestrine/com_error.h"

namespace kestrine::test {

class SenderTest : public ClientTest {
 protected:
  void make(Objects objects = kAsync) {
    ClientTest::make(objects);
    senders = async_commands.query<ILTCommandAsync>();
  }
  void start(Objects objects = kAsync) { make(objects), connect(); }

  // What a call came to, as told(), and whether that was thrown.
  template <class Call>
  static std::string outcome(Call call) {
    try {
      return told(call());
    } catch (const _com_error& error) {
      return "thrown " + told(error.Error());
    }
  }

  Pointer<ILTCommandAsync> senders;
};

}  // namespace kestrine::test
