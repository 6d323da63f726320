#include "kestrine/com_error.h"

// Here and not in the header, so that both libraries and the application share one type to throw and to catch.
const char* _com_error::what() const noexcept {
  return "the library reported a failure";
}
