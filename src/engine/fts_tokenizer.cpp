// FtsTokenizer: FTS5's unicode61 tokenizer, reached through its API.
#include "engine/fts_tokenizer.h"

#include <algorithm>

#include "engine/engine_error.h"

namespace ks::engine {

namespace fts_ascii {
const uint8_t kTokenByte[128] = {
    0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,
    0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,
    0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,
    48, 49, 50, 51, 52, 53, 54, 55, 56, 57, 0, 0, 0, 0, 0, 0,
    0, 97, 98, 99, 100, 101, 102, 103, 104, 105, 106, 107, 108, 109, 110, 111,
    112, 113, 114, 115, 116, 117, 118, 119, 120, 121, 122, 0, 0, 0, 0, 0,
    0, 97, 98, 99, 100, 101, 102, 103, 104, 105, 106, 107, 108, 109, 110, 111,
    112, 113, 114, 115, 116, 117, 118, 119, 120, 121, 122, 0, 0, 0, 0, 0,
};
}  // namespace fts_ascii

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

uint32_t FtsTokenizer::TokenizeWithFts5(std::string_view text, const TokenSink& sink) {
  Fts5Call call{&sink, 0};
  const int rc = methods_.xTokenize(tokenizer_, &call, FTS5_TOKENIZE_DOCUMENT, text.data(),
                                    static_cast<int>(text.size()), OnFts5Token);
  if (rc != SQLITE_OK) throw EngineError(KSENG_ERR_INTERNAL, "FTS5's tokenizer failed", rc);
  return call.position;
}

}  // namespace ks::engine
