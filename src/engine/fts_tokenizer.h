// FtsTokenizer: splits a text into the tokens FTS5's default tokenizer
// (unicode61, diacritics removed) makes of it, with their positions.  Text
// of ASCII bytes only, most of what is imported, is split here: letters and
// digits make tokens, folded to lower case, everything else separates.  Any
// other text goes to FTS5's own tokenizer, got from a connection, so that the
// tokens are always the ones a search looks for.
#pragma once

#include <cstdint>
#include <functional>
#include <string_view>

#include <sqlite3.h>

namespace ks::engine {

class FtsTokenizer {
 public:
  // FTS5 indexes at most this many bytes of a token.
  static constexpr size_t kLongestToken = 32768;

  using TokenSink = std::function<void(std::string_view token, uint32_t position)>;

  // `db` must outlive this tokenizer.  Throws EngineError when FTS5's
  // tokenizer cannot be had.
  explicit FtsTokenizer(sqlite3* db);
  ~FtsTokenizer();
  FtsTokenizer(const FtsTokenizer&) = delete;
  FtsTokenizer& operator=(const FtsTokenizer&) = delete;

  // Calls `sink` for each token of `text` in order; returns the number of
  // tokens.
  template <typename Sink>
  uint32_t Tokenize(std::string_view text, Sink&& sink);

 private:
  uint32_t TokenizeWithFts5(std::string_view text, const TokenSink& sink);

  fts5_tokenizer methods_{};
  Fts5Tokenizer* tokenizer_ = nullptr;
  char folded_[kLongestToken];
};

namespace fts_ascii {
// What an ASCII byte becomes in a token: letters folded to lower case,
// digits as they are; 0 for a separator.
extern const uint8_t kTokenByte[128];
}

template <typename Sink>
uint32_t FtsTokenizer::Tokenize(std::string_view text, Sink&& sink) {
  const auto* bytes = reinterpret_cast<const uint8_t*>(text.data());
  const size_t size = text.size();
  // Any byte above 0x7f: FTS5's own tokenizer for the whole text.
  {
    uint8_t any = 0;
    size_t i = 0;
    for (; i + 8 <= size; i += 8) {
      uint64_t word;
      __builtin_memcpy(&word, bytes + i, 8);
      if (word & 0x8080808080808080ULL) {
        any = 0x80;
        break;
      }
    }
    for (; any == 0 && i < size; ++i) any |= bytes[i] & 0x80;
    if (any != 0) return TokenizeWithFts5(text, TokenSink(std::ref(sink)));
  }
  uint32_t position = 0;
  size_t at = 0;
  while (true) {
    while (at < size && fts_ascii::kTokenByte[bytes[at]] == 0) ++at;
    if (at >= size) break;
    size_t length = 0;
    for (uint8_t folded; at < size && (folded = fts_ascii::kTokenByte[bytes[at]]) != 0; ++at) {
      if (length < kLongestToken) folded_[length++] = static_cast<char>(folded);
    }
    sink(std::string_view(folded_, length), position++);
  }
  return position;
}

}  // namespace ks::engine
