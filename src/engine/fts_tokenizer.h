// FtsTokenizer: splits a text into the tokens FTS5's default tokenizer
// (unicode61, diacritics removed) makes of it, with their positions.  Text
// of ASCII bytes only, most of what is imported, is split here: letters and
// digits make tokens, folded to lower case, everything else separates.  Any
// other text goes to FTS5's own tokenizer, got from a connection, so that the
// tokens are always the ones a search looks for.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string_view>
#include <vector>

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
  struct Span {
    uint32_t from;    // in folded_
    uint32_t length;  // cut at kLongestToken
  };

  // Splits text of ASCII bytes into spans_ over its folded copy in folded_;
  // false when a byte is above 0x7f.
  bool SplitAscii(std::string_view text);
  uint32_t TokenizeWithFts5(std::string_view text, const TokenSink& sink);

  fts5_tokenizer methods_{};
  Fts5Tokenizer* tokenizer_ = nullptr;
  std::unique_ptr<char[]> folded_;
  size_t folded_room_ = 0;
  std::vector<Span> spans_;
};

template <typename Sink>
uint32_t FtsTokenizer::Tokenize(std::string_view text, Sink&& sink) {
  if (!SplitAscii(text)) return TokenizeWithFts5(text, TokenSink(std::ref(sink)));
  uint32_t position = 0;
  for (const Span& span : spans_) {
    sink(std::string_view(folded_.get() + span.from, span.length), position++);
  }
  return position;
}

}  // namespace ks::engine
