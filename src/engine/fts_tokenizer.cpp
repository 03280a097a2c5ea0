// FtsTokenizer: FTS5's unicode61 tokenizer, reached through its API.
#include "engine/fts_tokenizer.h"

#include <algorithm>
#include <cstring>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

#include "engine/engine_error.h"

namespace ks::engine {


namespace {

fts5_api* Fts5Api(sqlite3* db) {
  fts5_api* api = nullptr;
  sqlite3_stmt* statement = nullptr;
  if (sqlite3_prepare_v2(db, "SELECT fts5(?1)", -1, &statement, nullptr) == SQLITE_OK) {
    sqlite3_bind_pointer(statement, 1, static_cast<void*>(&api), "fts5_api_ptr", nullptr);
    sqlite3_step(statement);
  }
  sqlite3_finalize(statement);
  return api;
}

struct Fts5Call {
  const FtsTokenizer::TokenSink* sink;
  uint32_t position;
};

int OnFts5Token(void* context, int flags, const char* token, int size, int, int) {
  auto* call = static_cast<Fts5Call*>(context);
  const auto length = std::min(static_cast<size_t>(size), FtsTokenizer::kLongestToken);
  // A token sharing the previous one's place (a synonym) takes no position
  // of its own; this tokenizer makes none, but FTS5 would count it so.
  const bool colocated = (flags & FTS5_TOKEN_COLOCATED) != 0 && call->position > 0;
  (*call->sink)(std::string_view(token, length), colocated ? call->position - 1 : call->position++);
  return SQLITE_OK;
}

}  // namespace

FtsTokenizer::FtsTokenizer(sqlite3* db) {
  fts5_api* api = Fts5Api(db);
  void* context = nullptr;
  fts5_tokenizer found{};
  if (api == nullptr || api->xFindTokenizer(api, "unicode61", &context, &found) != SQLITE_OK ||
      found.xCreate(context, nullptr, 0, &tokenizer_) != SQLITE_OK) {
    throw EngineError(KSENG_ERR_INTERNAL, "FTS5's tokenizer is not available");
  }
  methods_ = found;
}

FtsTokenizer::~FtsTokenizer() {
  if (tokenizer_ != nullptr) methods_.xDelete(tokenizer_);
}

namespace {

// Classifies 64 bytes at `block`: bits of ASCII letters and digits in
// `tokens`, of bytes above 0x7f in `high`; writes the bytes to `folded` with
// letters in lower case (bit 0x20 set, which leaves digits as they are).
void ClassifyBlock(const uint8_t* block, char* folded, uint64_t& tokens, uint64_t& high) {
  tokens = 0;
  high = 0;
#if defined(__SSE2__)
  const __m128i case_bit = _mm_set1_epi8(0x20);
  const __m128i to_letters = _mm_set1_epi8(static_cast<char>(0x80 - 'a'));
  const __m128i letters = _mm_set1_epi8(static_cast<char>(-128 + 26));
  const __m128i to_digits = _mm_set1_epi8(static_cast<char>(0x80 - '0'));
  const __m128i digits = _mm_set1_epi8(static_cast<char>(-128 + 10));
  for (int part = 0; part < 4; ++part) {
    const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i*>(block + 16 * part));
    const __m128i lower = _mm_or_si128(bytes, case_bit);
    _mm_storeu_si128(reinterpret_cast<__m128i*>(folded + 16 * part), lower);
    // A byte in [low, low + n) is, shifted by 0x80 - low, a signed byte
    // below -128 + n.
    const __m128i letter = _mm_cmplt_epi8(_mm_add_epi8(lower, to_letters), letters);
    const __m128i digit = _mm_cmplt_epi8(_mm_add_epi8(bytes, to_digits), digits);
    const int shift = 16 * part;
    tokens |= uint64_t{static_cast<uint16_t>(_mm_movemask_epi8(_mm_or_si128(letter, digit)))}
              << shift;
    high |= uint64_t{static_cast<uint16_t>(_mm_movemask_epi8(bytes))} << shift;
  }
#else
  for (int i = 0; i < 64; ++i) {
    const uint8_t c = block[i];
    const uint8_t lower = c | 0x20;
    folded[i] = static_cast<char>(lower);
    if ((lower >= 'a' && lower <= 'z') || (c >= '0' && c <= '9')) tokens |= uint64_t{1} << i;
    if (c & 0x80) high |= uint64_t{1} << i;
  }
#endif
}

}  // namespace

// Letters and digits make tokens, a block of 64 bytes at a time: each run of
// set bits in a block's mask is a token, and one that reaches the block's
// end goes on in the next.
bool FtsTokenizer::SplitAscii(std::string_view text) {
  spans_.clear();
  const size_t size = text.size();
  if (folded_room_ < size + 64) {
    folded_room_ = std::max(size + 64, folded_room_ * 2);
    folded_ = std::make_unique_for_overwrite<char[]>(folded_room_);
  }
  const auto* in = reinterpret_cast<const uint8_t*>(text.data());
  char* folded = folded_.get();
  auto emit = [&](size_t from, size_t to) {
    spans_.push_back({static_cast<uint32_t>(from),
                      static_cast<uint32_t>(std::min(to - from, kLongestToken))});
  };
  bool in_token = false;
  size_t start = 0;
  for (size_t base = 0; base < size; base += 64) {
    const uint8_t* block = in + base;
    uint8_t tail[64];
    if (size - base < 64) {
      // The last block, filled out with separators.
      std::memset(tail, 0, sizeof(tail));
      std::memcpy(tail, block, size - base);
      block = tail;
    }
    uint64_t tokens;
    uint64_t high;
    ClassifyBlock(block, folded + base, tokens, high);
    if (high != 0) return false;
    if (in_token) {
      const uint64_t ended = ~tokens;
      if (ended == 0) continue;  // the token goes on through this block
      const int length = __builtin_ctzll(ended);
      emit(start, base + static_cast<size_t>(length));
      in_token = false;
      tokens &= ~((uint64_t{1} << length) - 1);
    }
    while (tokens != 0) {
      const int from = __builtin_ctzll(tokens);
      const uint64_t rest = tokens >> from;
      const int length = ~rest == 0 ? 64 : __builtin_ctzll(~rest);
      if (from + length == 64) {
        in_token = true;
        start = base + static_cast<size_t>(from);
        break;
      }
      emit(base + static_cast<size_t>(from), base + static_cast<size_t>(from + length));
      tokens &= ~(((uint64_t{1} << length) - 1) << from);
    }
  }
  if (in_token) emit(start, size);
  return true;
}

uint32_t FtsTokenizer::TokenizeWithFts5(std::string_view text, const TokenSink& sink) {
  Fts5Call call{&sink, 0};
  const int rc = methods_.xTokenize(tokenizer_, &call, FTS5_TOKENIZE_DOCUMENT, text.data(),
                                    static_cast<int>(text.size()), OnFts5Token);
  if (rc != SQLITE_OK) throw EngineError(KSENG_ERR_INTERNAL, "FTS5's tokenizer failed", rc);
  return call.position;
}

}  // namespace ks::engine
