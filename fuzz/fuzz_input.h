// What every fuzz target shares: reading its options from the front of the
// input, and checks that stop the run when a parser breaks a promise of its
// header.
//
// A target reads its settings (delimiters, modes, block sizes) from the
// first bytes and hands the rest to the parser, so that a seed file is the
// option bytes followed by ordinary text, and the fuzzer mutates options and
// text alike.  An input too short for its options reads zeros: every input
// is a valid one.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <string_view>
#include <system_error>

// Stops the run when `condition` is false: libFuzzer saves the input as a
// crash, as for a sanitizer report.  Checks stay in every build type.
#define FUZZ_CHECK(condition)                                                            \
  do {                                                                                   \
    if (!(condition)) {                                                                  \
      std::fprintf(stderr, "%s:%d: check failed: %s\n", __FILE__, __LINE__, #condition); \
      std::abort();                                                                      \
    }                                                                                    \
  } while (false)

namespace ks::fuzz {

class FuzzInput {
 public:
  FuzzInput(const uint8_t* data, size_t size) : rest_(reinterpret_cast<const char*>(data), size) {}

  // The next byte; 0 once the input is used up.
  uint8_t Byte() {
    if (rest_.empty()) return 0;
    const auto byte = static_cast<uint8_t>(rest_.front());
    rest_.remove_prefix(1);
    return byte;
  }

  // A number in [0, bound) from the next byte, or the next two when the
  // bound does not fit in one.
  size_t Below(size_t bound) {
    if (bound <= 1) return 0;
    size_t value = Byte();
    if (bound > 256) value = value << 8 | Byte();
    return value % bound;
  }

  bool Flag() { return (Byte() & 1) != 0; }

  // Up to `most` bytes, the count chosen by the next byte.
  std::string_view ShortText(size_t most) { return Take(Below(most + 1)); }

  // The next `count` bytes (fewer at the end).
  std::string_view Take(size_t count) {
    const std::string_view taken = rest_.substr(0, count);
    rest_.remove_prefix(taken.size());
    return taken;
  }

  // Everything not yet read.
  std::string_view Rest() const { return rest_; }

 private:
  std::string_view rest_;
};

// Piece sizes for feeding a text in blocks, drawn from a seed so that the
// same input always gives the same cuts: mostly tiny pieces (every boundary
// case), now and then a larger one.
class PieceSizes {
 public:
  explicit PieceSizes(uint32_t seed) : state_(seed * 2654435761u + 1) {}

  size_t Next() {
    state_ = state_ * 1103515245u + 12345u;
    const uint32_t r = state_ >> 8;
    switch (r & 3) {
      case 0:
        return 1;
      case 1:
        return 1 + (r >> 2) % 4;
      case 2:
        return 1 + (r >> 2) % 64;
      default:
        return 1 + (r >> 2) % 4096;
    }
  }

 private:
  uint32_t state_;
};

// A folder of this process's own for targets that read or write files, in
// memory where the system offers it, removed when the process ends.
inline const std::filesystem::path& WorkFolder() {
  // Never destroyed, so that the removal at exit can still name it.
  static const auto* const folder = [] {
    std::error_code ec;
    std::filesystem::path base = "/dev/shm";
    if (!std::filesystem::is_directory(base, ec)) base = std::filesystem::temp_directory_path();
    std::string pattern = (base / "ks_fuzz_XXXXXX").string();
    FUZZ_CHECK(::mkdtemp(pattern.data()) != nullptr);
    const auto* made = new std::filesystem::path(pattern);
    std::atexit([] {
      std::error_code ignored;
      std::filesystem::remove_all(WorkFolder(), ignored);
    });
    return made;
  }();
  return *folder;
}

}  // namespace ks::fuzz
