// The one guard at the C boundary: runs the body of an exported function and
// turns anything it throws into the function's failure value (0, or nothing
// for a function without a result).  No exception ever reaches the host.
#pragma once

#include <exception>
#include <new>
#include <type_traits>

template <typename Body>
auto GuardExport(Body&& body) noexcept -> decltype(body()) {
  using Result = decltype(body());
  try {
    return body();
  } catch (const std::bad_alloc&) {
  } catch (const std::exception&) {
  } catch (...) {
  }
  if constexpr (!std::is_void_v<Result>) return Result{};
}
