#include "runtime/core/Exception.h"

#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <string>

namespace Kro {

Exception::~Exception() = default;

void throwRangeException(char const* message) { throw RangeException(message); }
void throwRangeException(String8 const& message) { throw RangeException(message); }
void throwInternalException(char const* message) { throwInternalException(String8(message)); }
void throwInternalException(String8 const& message) {
#ifdef KRO_ABORT_ON_INTERNAL
  abortOnViolation(message.charPtr());
#else
  throw InternalException(message);
#endif
}
void throwNameInUseException(String8 const& message) { throw NameInUseException(message); }

void rethrowFromDeserializeAttr(RangeException const& error, String8 const& name) {
  throw RangeException(name + ": " + error.message(), error.ids());
}

void cannotConvert(String8::IteratorConst const& it, String8::IteratorConst const&, std::type_info const& type) {
  cannotConvert(it, type.name());
}
void cannotConvert(String8::IteratorConst const& it, std::string_view typeName) {
  throw ConversionException(format("cannot convert text at column %lld to ", it.index()) + String8(typeName));
}

void abortOnViolation(char const* message) noexcept {
  // The last words of a process that must not go on; the library prints nothing else.
  std::fputs(message, stderr);
  std::fputc('\n', stderr);
  std::abort();
}

String8 format(char const* fmt, ...) {
  std::va_list measured;
  va_start(measured, fmt);
  std::va_list written;
  va_copy(written, measured);
  int const length = std::vsnprintf(nullptr, 0, fmt, measured);
  va_end(measured);
  std::string text(length > 0 ? static_cast<std::size_t>(length) : 0, '\0');
  std::vsnprintf(text.data(), text.size() + 1, fmt, written);
  va_end(written);
  return String8(std::string_view(text));
}

}  // namespace Kro
